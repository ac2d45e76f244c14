// Rows and names of a real daemon, as programs of ours read them.
#include <atomic>
#include <csignal>
#include <gmock/gmock.h>
#include <optional>

#include "host/bus/client.h"
#include "host/intake/rule_line.h"
#include "host/journals/group_writer.h"
#include "host/reading/daemon_source.h"
#include "host/reading/file_source.h"
#include "host/reading/follow.h"
#include "host/sources/event.h"
#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pointee;

// Connects to the daemon of the moment.
DaemonSource::Connector ConnectorTo(const std::optional<Daemon>& daemon) {
  return [&daemon](BusFailure* failure) -> std::unique_ptr<Connection> {
    return daemon ? ConnectTo(daemon->socket(), {}, failure) : ConnectTo("/none", {}, failure);
  };
}

CDrvErrorItemV4 NumberedEvent(std::uint32_t number, std::uint32_t seconds) {
  CDrvErrorItemV4 event = EventAt(seconds).event;
  event.m_SrcIp = number;
  event.m_Count = 1;
  return event;
}

TEST(ReadingTest, NamesComeThroughTheSandbox) {
  const TemporaryDirectory journals;
  const TemporaryDirectory place;
  const RuleEntry rule = {3, 1, "fw: ", {44, Verdict::kDrop, 0, "scans"}};
  journals.File("rules.dictionary",
                std::string(kRuleDictionaryTitle) + '\n' + RuleLine(rule) + '\n');
  const std::string config = place.File("packetdb.toml", "[events]\nscan = 44\n");
  const std::optional<Daemon> daemon(std::in_place, journals.path(), Program::Arguments{}, config);
  const Names names = DaemonSource(ConnectorTo(daemon), "all").AskNames();
  EXPECT_THAT(names.Event(44), Pointee(std::string("scan")));
  ASSERT_NE(names.Rule(3U << kRuleShift, 0), nullptr);
  EXPECT_EQ(names.Rule(3U << kRuleShift, 0)->meaning.text, "scans");
}

class FollowOverARestart : public testing::Test {
 protected:
  void Add(std::uint32_t number) {
    GroupWriter({.directory = journals_.path(),
                 .group = "edge",
                 .capacity = 100,
                 .window_seconds = kDefaultWindowSeconds})
        .Add(NumberedEvent(number, number), "eth0");
  }
  std::vector<std::uint32_t> Poll() {
    given_.clear();
    result_ = follower_.Poll(Sink());
    return given_;
  }
  FollowSink Sink() {
    return [this](const Row& row, bool is_update) {
      EXPECT_FALSE(is_update);
      given_.push_back(row.event.m_SrcIp);
      return true;
    };
  }

  TemporaryDirectory journals_;
  std::optional<Daemon> daemon_;
  DaemonSource source_{ConnectorTo(daemon_), "edge"};
  const Query query_ = QueryOf("edge");
  const RowTest wanted_;
  const std::atomic<bool> cancelled_ = false;
  Follower follower_{source_, query_, wanted_, cancelled_};
  std::vector<std::uint32_t> given_;
  ReadResult result_;
};

TEST_F(FollowOverARestart, GivesEachRowOnce) {
  Add(1);
  daemon_.emplace(journals_.path());
  EXPECT_TRUE(follower_.Begin(9, Sink()).ok());
  EXPECT_THAT(given_, ElementsAre(1));
  Add(2);
  EXPECT_THAT(Poll(), ElementsAre(2));
  daemon_->Stop(SIGTERM);
  daemon_.reset();
  Add(3);
  EXPECT_THAT(Poll(), IsEmpty());
  EXPECT_EQ(result_.outcome, ReadOutcome::kUnreachable);
  daemon_.emplace(journals_.path());
  EXPECT_THAT(Poll(), ElementsAre(3));
  EXPECT_THAT(Poll(), IsEmpty());
}

// A journal of a million records, bursts and pauses among them.
class LargeJournal : public testing::Test {
 protected:
  static constexpr std::uint32_t kRecords = 1'000'000;

  LargeJournal() {
    GroupWriter writer({.directory = journals_.path(),
                        .group = "edge",
                        .capacity = kRecords,
                        .window_seconds = kDefaultWindowSeconds});
    for (std::uint32_t i = 0; i < kRecords; ++i) {
      writer.Add(NumberedEvent(i, i / 10 / 5000 * 5000), i % 2 == 0 ? "eth0" : "wan");
    }
  }
  // Fails unless the rows of all windows are the records one by one, oldest first.
  void ExpectAll(RowSource& source) {
    std::uint32_t next = 0;
    const ReadResult result =
        WindowReader(source, cancelled_)
            .ReadAll(ReadOrder::kOldestFirst, QueryOf("edge"), {},
                     [&next](const Row& row) { return row.event.m_SrcIp == next++; });
    EXPECT_EQ(result.outcome, ReadOutcome::kDone) << result.reason << " at " << next;
    EXPECT_EQ(next, kRecords);
  }
  void ExpectNewest(RowSource& source) {
    std::uint32_t next = kRecords;
    const auto wanted = [](const Row& row) { return row.event.m_SrcIp % 1000 == 7; };
    std::vector<std::uint32_t> given;
    WindowReader(source, cancelled_)
        .ReadNewest(3, QueryOf("edge"), wanted, [&given](const Row& row) {
          given.push_back(row.event.m_SrcIp);
          return true;
        });
    EXPECT_THAT(given, ElementsAre(next - 993, next - 1993, next - 2993));
  }

  const TemporaryDirectory journals_;
  const std::atomic<bool> cancelled_ = false;
};

TEST_F(LargeJournal, IsReadThroughADaemon) {
  const std::optional<Daemon> daemon(std::in_place, journals_.path());
  DaemonSource source(ConnectorTo(daemon), "edge");
  ExpectNewest(source);
  ExpectAll(source);
}

TEST_F(LargeJournal, IsReadFromItsFile) {
  FileSource source(journals_.Path("edge.journal"));
  ExpectNewest(source);
  ExpectAll(source);
}

}  // namespace
}  // namespace packetdb::host::test
