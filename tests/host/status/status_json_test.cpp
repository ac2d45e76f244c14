#include "host/status/status_json.h"

#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <nlohmann/json.hpp>

#include "tests/host/status/full_report.h"

namespace packetdb::host::test {
namespace {

using Json = nlohmann::json;
using testing::ElementsAre;

std::vector<Json> Parsed(const std::vector<std::string>& rows) {
  std::vector<Json> parsed;
  for (const std::string& row : rows) parsed.push_back(Json::parse(row));
  return parsed;
}

std::vector<std::string> KindsOf(const std::vector<Json>& rows) {
  std::vector<std::string> kinds;
  for (const Json& row : rows) kinds.push_back(row.at("kind"));
  return kinds;
}

TEST(StatusJson, HasARowForEachThing) {
  EXPECT_THAT(KindsOf(Parsed(StatusRows(FullReport()))),
              ElementsAre("daemon", "clients", "rules", "source", "source", "journal", "exclusion",
                          "problem"));
  EXPECT_THAT(KindsOf(Parsed(StatusRows(EmptyReport()))), ElementsAre("daemon"));
}

TEST(StatusJson, TellsOfTheDaemon) {
  const Json row = Parsed(StatusRows(FullReport()))[0];
  EXPECT_EQ(row.at("version"), "1.2.3");
  EXPECT_EQ(row.at("library"), "1.2.4");
  EXPECT_EQ(row.at("journal_format"), "4");
  EXPECT_EQ(row.at("now_unix"), 1700001000);
  EXPECT_EQ(row.at("started_unix"), 1699990000);
  EXPECT_EQ(row.at("uptime_seconds"), 11000);
  EXPECT_EQ(row.at("reloads"), 21);
  EXPECT_EQ(row.at("failed_reloads"), 22);
  EXPECT_EQ(row.at("query_restarts"), 23);
  EXPECT_EQ(row.at("intake_restarts"), 24);
  EXPECT_EQ(row.at("last_event_unix"), 1700000999);
}

TEST(StatusJson, TellsOfClients) {
  const Json row = Parsed(StatusRows(FullReport()))[1];
  EXPECT_EQ(row, Json({{"kind", "clients"},
                       {"connections", 31},
                       {"active", 32},
                       {"refused_user", 33},
                       {"refused_limit", 34},
                       {"died", 35}}));
}

TEST(StatusJson, TellsOfRules) {
  const Json row = Parsed(StatusRows(FullReport()))[2];
  EXPECT_EQ(row, Json({{"kind", "rules"}, {"known", 41}, {"unnumbered", 42}, {"forgotten", 43}}));
}

TEST(StatusJson, TellsOfASource) {
  const Json row = Parsed(StatusRows(FullReport()))[3];
  EXPECT_EQ(row, Json({{"kind", "source"},
                       {"name", "nflog:5"},
                       {"received", 101},
                       {"journaled", 102},
                       {"excluded", 103},
                       {"unrouted", 104},
                       {"skipped", 112},
                       {"skipped_by_reason", {{"ipv6", 112}}},
                       {"remarks", {{"time_clamped", 113}}},
                       {"lost", 211},
                       {"lost_by_cause", {{"overrun", 105}, {"before_read", 106}}},
                       {"overruns", 107},
                       {"foreign", 108},
                       {"malformed", 109},
                       {"batches", 110},
                       {"buffer_bytes", 111}}));
}

TEST(StatusJson, TellsOfAJournal) {
  const Json row = Parsed(StatusRows(FullReport()))[5];
  EXPECT_EQ(row, Json({{"kind", "journal"},
                       {"name", "all"},
                       {"format", "4"},
                       {"layout_version", 2},
                       {"state", "open"},
                       {"writer", true},
                       {"file_bytes", 90681344},
                       {"records", 250},
                       {"capacity", 1000},
                       {"fill_percent", 25.0},
                       {"oldest_unix", 1700000000},
                       {"newest_unix", 1700000900},
                       {"recent_records", 5},
                       {"recent_seconds", 10},
                       {"overwriting", false},
                       {"seconds_to_overwriting", 1500},
                       {"seconds_kept", 2000},
                       {"appended", 1302},
                       {"merged", 2604},
                       {"events_per_record", 3.0},
                       {"overwritten", 1052},
                       {"damaged", 303},
                       {"lost", 304},
                       {"since_start",
                        {{"events", 401},
                         {"packets", 402},
                         {"bytes", 403},
                         {"appended", 406},
                         {"merged", 407},
                         {"adjusted_times", 404},
                         {"refused", 405}}}}));
}

TEST(StatusJson, SaysNullForWhatIsNotKnown) {
  DaemonReport report = EmptyReport();
  report.journals = {{"all", JournalFile(), JournalActivity()}, {"gone", {}, {}}};
  const std::vector<Json> rows = Parsed(StatusRows(report));
  for (const char* key : {"capacity", "fill_percent", "oldest_unix", "newest_unix",
                          "recent_records", "seconds_to_overwriting", "events_per_record"}) {
    EXPECT_TRUE(rows[1].at(key).is_null()) << key;
  }
  EXPECT_TRUE(rows[1].at("since_start").at("merged").is_null());
  EXPECT_EQ(rows[2], Json({{"kind", "journal"}, {"name", "gone"}, {"since_start", nullptr}}));
}

TEST(StatusJson, ListsTheNamesThatAQueryTakes) {
  DaemonReport report = FullReport();
  report.names[1].is_served = false;
  const std::vector<Json> rows = Parsed(JournalRows(report));
  EXPECT_THAT(
      rows,
      ElementsAre(
          Json({{"kind", "group"},
                {"name", "all"},
                {"journal", "all"},
                {"served", true},
                {"window_seconds", 60},
                {"records", 250},
                {"capacity", 1000},
                {"oldest_unix", 1700000000},
                {"newest_unix", 1700000900},
                {"changes", 3905}}),
          Json({{"kind", "interface"}, {"name", "eth0"}, {"journal", "all"}, {"served", false}}),
          Json({{"kind", "problem"}, {"text", "something is wrong"}})));
}

TEST(StatusJson, IsUtf8WhateverNamesAre) {
  DaemonReport report = EmptyReport();
  report.names = {{"eth\xff", "all", false, true}};
  report.problems = {std::string("half \xc3")};
  const std::vector<Json> rows = Parsed(JournalRows(report));
  EXPECT_EQ(rows[0].at("name"), "eth\xEF\xBF\xBD");
  EXPECT_EQ(rows[1].at("text"), "half \xEF\xBF\xBD");
}

TEST(StatusJson, IsBoundedAndCountsWhatItLeavesOut) {
  DaemonReport report = EmptyReport();
  report.names.resize(kMostListedNames + 7, {"eth0", "all", false, true});
  report.problems.resize(kMostListedProblems + 3, std::string(5000, 'x'));
  const std::vector<Json> rows = Parsed(JournalRows(report));
  ASSERT_EQ(rows.size(), kMostListedNames + 1 + kMostListedProblems + 1);
  EXPECT_EQ(rows[kMostListedNames], Json({{"kind", "left_out"}, {"of", "name"}, {"rows", 7}}));
  EXPECT_EQ(rows.back(), Json({{"kind", "left_out"}, {"of", "problem"}, {"rows", 3}}));
  EXPECT_EQ(rows[rows.size() - 2].at("text").get<std::string>().size(), kLongestProblem);
}

TEST(StatusJson, IsBoundedForJournalsToo) {
  DaemonReport report = EmptyReport();
  report.journals.resize(kMostListedNames + 2);
  const std::vector<Json> rows = Parsed(StatusRows(report));
  ASSERT_EQ(rows.size(), 1 + kMostListedNames + 1);
  EXPECT_EQ(rows.back(), Json({{"kind", "left_out"}, {"of", "journal"}, {"rows", 2}}));
}

// Every key of every row, with what is in a row's own objects.
void ExpectNamed(const Json& object, const std::string& page) {
  for (const auto& [key, value] : object.items()) {
    EXPECT_NE(page.find('`' + key + '`'), std::string::npos) << key;
    if (value.is_object() && key != "skipped_by_reason" && key != "remarks") {
      ExpectNamed(value, page);
    }
  }
}

TEST(StatusJson, IsDescribedOnThePageOfTheProtocol) {
  std::ifstream file(PACKETDB_SOURCE_DIR "/docs/bus_protocol.md");
  const std::string page(std::istreambuf_iterator<char>(file), {});
  DaemonReport report = FullReport();
  report.problems.resize(kMostListedProblems + 1);
  for (const auto& rows : {StatusRows(report), JournalRows(report)}) {
    for (const Json& row : Parsed(rows)) {
      ExpectNamed(row, page);
      EXPECT_NE(page.find('`' + row.at("kind").get<std::string>() + '`'), std::string::npos) << row;
    }
  }
}

}  // namespace
}  // namespace packetdb::host::test
