#include "host/status/report.h"

#include <filesystem>
#include <gmock/gmock.h>

#include "host/journals/group_writer.h"
#include "host/journals/names.h"
#include "host/status/reason_words.h"
#include "host/status/shared_page.h"
#include "tests/host/journals/support.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Report : public testing::Test {
 protected:
  DaemonReport Make() const { return MakeReport(page_.get(), directory_.Path(), now_); }
  GroupOptions Options(const std::string& group) const {
    return {.directory = directory_.Path(), .group = group, .capacity = 100, .window_seconds = 60};
  }

  const TempDir directory_;
  const StatusPagePtr page_ = MakeStatusPage();
  ReportMoment now_ = ReportMoment::Now();
};

TEST_F(Report, NamesTheVersions) {
  const Versions versions = Make().versions;
  EXPECT_THAT(versions.program, testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
  EXPECT_EQ(versions.library, versions.program);
  EXPECT_EQ(versions.journal_format, "4");
  EXPECT_EQ(versions.layout, 2U);
  EXPECT_EQ(versions.bus_protocol, 1U);
}

TEST_F(Report, TellsTheDaemonsFactsOnceThereAreAny) {
  EXPECT_FALSE(Make().daemon);
  page_->daemon.started_unix.Set(1000);
  page_->daemon.started_boottime.Set(50);
  now_.boottime_seconds = 80;
  ASSERT_TRUE(Make().daemon);
  EXPECT_EQ(Make().daemon->started, 1000U);
  EXPECT_EQ(Make().daemon->uptime_seconds, 30U) << "whatever the clock says";
  EXPECT_EQ(Make().daemon->last_event, std::nullopt);
  page_->daemon.last_event_unix.Set(1234);
  EXPECT_EQ(Make().daemon->last_event, 1234U);
}

TEST_F(Report, NeverRunsForLessThanNothing) {
  page_->daemon.started_unix.Set(1000);
  page_->daemon.started_boottime.Set(50);
  now_.boottime_seconds = 49;
  EXPECT_EQ(Make().daemon->uptime_seconds, 0U);
}

TEST_F(Report, TellsOfEverySource) {
  SourceStatus* source = FindOrAddRow(page_->sources, "nflog:5");
  source->received.Set(100);
  source->journaled.Set(80);
  source->excluded.Set(5);
  source->unrouted.Set(4);
  source->lost_overrun.Set(7);
  source->lost_before_read.Set(2);
  source->skipped[static_cast<std::size_t>(SkipReason::kArp)].Set(11);
  source->remarks[static_cast<std::size_t>(Remark::kTimeClamped)].Set(3);
  FindOrAddRow(page_->sources, "capture:eth0");
  const std::vector<SourceReport> sources = Make().sources;
  ASSERT_EQ(sources.size(), 2U);
  EXPECT_EQ(sources[0].name, "nflog:5");
  EXPECT_EQ(sources[0].received, 100U);
  EXPECT_EQ(sources[0].journaled, 80U);
  EXPECT_EQ(sources[0].excluded, 5U);
  EXPECT_EQ(sources[0].unrouted, 4U);
  EXPECT_EQ(sources[0].Skipped(), 11U);
  EXPECT_EQ(sources[0].Lost(), 9U);
  ASSERT_EQ(sources[0].skipped.size(), kSkipReasons);
  EXPECT_EQ(sources[0].skipped[1].word, "arp");
  EXPECT_EQ(sources[0].skipped[1].text, "ARP");
  EXPECT_EQ(sources[0].skipped[1].count, 11U);
  EXPECT_EQ(sources[0].remarks.back().count, 3U);
  EXPECT_EQ(sources[1].name, "capture:eth0");
}

TEST_F(Report, TellsOfClientsRulesAndExclusions) {
  page_->rules.known.Set(3);
  page_->rules.unnumbered.Set(4);
  page_->query.connections.Set(9);
  page_->query.active.Set(2);
  FindOrAddRow(page_->exclusions, "noise")->packets.Set(5);
  const DaemonReport report = Make();
  EXPECT_EQ(report.clients->connections, 9U);
  EXPECT_EQ(report.clients->active, 2U);
  EXPECT_EQ(report.rules->known, 3U);
  EXPECT_EQ(report.rules->unnumbered, 4U);
  ASSERT_EQ(report.exclusions.size(), 1U);
  EXPECT_EQ(report.exclusions[0].name, "noise");
  EXPECT_EQ(report.exclusions[0].packets, 5U);
}

// Events of three hosts, again and again: as intake counts them.
TEST_F(Report, AddsUpWhatWasAppendedAndMerged) {
  JournalStatus* row = FindOrAddRow(page_->journals, "all");
  const std::uint32_t now = JournalNow();
  GroupWriter(Options("all")).Add(EventFrom(9, now - 1000), "eth0");
  GroupWriter writer(Options("all"));
  row->first_next.Set(writer.RecordsAppended());
  for (int i = 0; i < 30; ++i) {
    writer.Add(EventFrom(static_cast<std::uint8_t>(i % 3), now), "eth0");
    row->events.Add(1);
  }
  const DaemonReport report = Make();
  ASSERT_EQ(report.journals.size(), 1U);
  const JournalReport& journal = report.journals[0];
  ASSERT_TRUE(journal.file && journal.activity);
  EXPECT_EQ(journal.activity->events, 30U);
  EXPECT_EQ(journal.activity->appended, 3U);
  EXPECT_EQ(journal.activity->merged, 27U);
  EXPECT_EQ(journal.file->appended, 4U) << "with the one of before";
  EXPECT_EQ(journal.file->merged, 27U) << "the journal says the same";
}

TEST_F(Report, DoesNotAddUpJournalsThatWereExchanged) {
  GroupWriter(Options("all")).Add(EventFrom(1, 100), "eth0");
  JournalStatus* row = FindOrAddRow(page_->journals, "all");
  row->first_next.Set(1000);
  row->events.Set(5);
  const DaemonReport report = Make();
  EXPECT_EQ(report.journals[0].activity->events, 5U);
  EXPECT_EQ(report.journals[0].activity->appended, std::nullopt);
  EXPECT_EQ(report.journals[0].activity->merged, std::nullopt);
}

TEST_F(Report, NeverCountsLessThanNothingAsMerged) {
  for (const std::uint8_t host : {std::uint8_t{1}, std::uint8_t{2}})
    GroupWriter(Options("all")).Add(EventFrom(host, 100), "a");
  FindOrAddRow(page_->journals, "all")->events.Set(1);
  EXPECT_EQ(Make().journals[0].activity->merged, 0U);
}

TEST_F(Report, TellsOfJournalsThatNobodyWrites) {
  GroupWriter(Options("lan")).Add(EventFrom(1, 100), "eth0");
  const DaemonReport report = MakeReport(nullptr, directory_.Path(), now_);
  ASSERT_EQ(report.journals.size(), 1U);
  EXPECT_EQ(report.journals[0].name, "lan");
  EXPECT_TRUE(report.journals[0].file);
  EXPECT_FALSE(report.journals[0].activity);
  EXPECT_FALSE(report.daemon);
  EXPECT_FALSE(report.clients);
  EXPECT_THAT(report.problems, IsEmpty());
}

TEST_F(Report, TellsOfJournalsInOrderWithAndWithoutAFile) {
  GroupWriter(Options("b")).Add(EventFrom(1, 100), "eth0");
  for (const char* name : {"c", "b", "a"}) FindOrAddRow(page_->journals, name);
  std::vector<std::string> names;
  for (const JournalReport& journal : Make().journals) {
    names.push_back(journal.name + (journal.file ? "+" : "-"));
  }
  EXPECT_THAT(names, ElementsAre("a-", "b+", "c-"));
}

TEST_F(Report, SaysWhatKeepsAJournalFromBeingServed) {
  GroupWriter(Options("lan")).Add(EventFrom(1, 100), "eth0");
  std::filesystem::resize_file(JournalPath(directory_.Path(), "lan"), 5000);
  const DaemonReport report = Make();
  EXPECT_THAT(report.journals, IsEmpty());
  EXPECT_THAT(report.problems, ElementsAre(HasSubstr("cannot open journal")));
}

TEST_F(Report, SaysThatTheDirectoryCannotBeRead) {
  const DaemonReport report = MakeReport(page_.get(), directory_.Path("missing"), now_);
  EXPECT_THAT(report.problems, ElementsAre(HasSubstr("cannot read directory")));
}

TEST_F(Report, NamesGroupsAndInterfaces) {
  GroupWriter(Options("lan")).Add(EventFrom(1, 100), "eth0");
  GroupWriter(Options("wan")).Add(EventFrom(1, 100), "eth0");
  std::vector<std::string> names;
  for (const JournalName& name : Make().names) {
    names.push_back((name.is_group ? "group " : "interface ") + name.name + " of " + name.group +
                    (name.is_served ? "" : ", not served"));
  }
  EXPECT_THAT(names, ElementsAre("group lan of lan", "interface eth0 of lan", "group wan of wan",
                                 "interface eth0 of wan, not served"));
}

}  // namespace
}  // namespace packetdb::host::test
