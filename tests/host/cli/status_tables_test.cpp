#include "host/cli/status_tables.h"

#include <gmock/gmock.h>

#include "host/cli/status_json.h"
#include "tests/host/cli/captured.h"
#include "tests/host/times/time_zone.h"

namespace packetdb::host::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class StatusTables : public testing::Test {
 protected:
  static ToldRows Rows(const std::vector<const char*>& texts) {
    ToldRows rows;
    for (const char* text : texts) rows.push_back(OrderedJson::parse(text));
    return rows;
  }
  static std::string Status(const std::vector<const char*>& rows) {
    return Printed([&](std::FILE* out) { PrintStatusTables(Rows(rows), out); });
  }
  static std::string Journals(const std::vector<const char*>& rows) {
    return Printed([&](std::FILE* out) { PrintJournalsTable(Rows(rows), out); });
  }

 private:
  const TimeZone zone_{"UTC0"};
};

constexpr char kDaemon[] =
    R"({"kind":"daemon","version":"1.2.3","library":"1.2.4","journal_format":"4",)"
    R"("layout_version":2,"bus_protocol":1,"now_unix":1700011000,"started_unix":1700000000,)"
    R"("uptime_seconds":11000,"reloads":2,"failed_reloads":1,"query_restarts":0,)"
    R"("intake_restarts":2,"last_event_unix":1700010999})";
constexpr char kJournal[] =
    R"({"kind":"journal","name":"all","state":"open","file_bytes":90681344,"records":250,)"
    R"("capacity":1000,"fill_percent":25.0,"oldest_unix":1700000000,"newest_unix":1700010999,)"
    R"("seconds_to_overwriting":7260,"seconds_kept":9000,"appended":300,"merged":600,)"
    R"("events_per_record":3.0,"overwritten":50,"damaged":1,"lost":2,)"
    R"("since_start":{"events":400,"packets":401,"bytes":4020,"appended":100,"merged":300,)"
    R"("adjusted_times":5,"refused":6}})";

TEST_F(StatusTables, TellOfTheDaemon) {
  EXPECT_THAT(
      Status({kDaemon}),
      testing::StartsWith(
          "packetdbd     1.2.3, library 1.2.4, journal format 4 (layout 2), bus protocol 1\n"
          "running       3 h 3 min, since 2023-11-14 22:13:20\n"
          "reloads       2 done, 1 refused\n"
          "restarts      0 of the query process, 2 of intake\n"
          "last event    2023-11-15 01:16:39\n"));
}

TEST_F(StatusTables, SayThatNobodySupervises) {
  EXPECT_THAT(Status({R"({"kind":"daemon","version":"1.2.3"})"}),
              AllOf(HasSubstr("running       without supervision"), HasSubstr("no journals\n")));
}

TEST_F(StatusTables, TellOfClients) {
  EXPECT_THAT(Status({R"({"kind":"clients","connections":9,"active":1,"refused_user":2,)"
                      R"("refused_limit":3,"died":4})"}),
              HasSubstr("clients       1 connected, 9 so far; refused: 2 not allowed, 3 too many; "
                        "4 died\n"));
}

TEST_F(StatusTables, TellOfRules) {
  EXPECT_THAT(Status({R"({"kind":"rules","known":5,"unnumbered":6,"forgotten":7})"}),
              HasSubstr("rules         5 known; 6 events without their number, 7 times too many "
                        "at once\n"));
}

TEST_F(StatusTables, TellOfSourcesAndWhyPacketsAreMissing) {
  EXPECT_THAT(
      Status({R"({"kind":"source","name":"nflog:5","received":100,"journaled":80,"excluded":5,)"
              R"("unrouted":4,"skipped":11,"skipped_by_reason":{"ipv6":10,"arp":1},)"
              R"("remarks":{"time_clamped":3},"lost":9,)"
              R"("lost_by_cause":{"overrun":9,"before_read":0},"overruns":2,)"
              R"("buffer_bytes":33554432})"}),
      HasSubstr("SOURCE   RECEIVED  JOURNALED  EXCLUDED  NO JOURNAL  SKIPPED  LOST  OVERRUNS      "
                "         BUFFER\n"
                "nflog:5       100         80         5           4       11     9         2  "
                "33554432 (32.0 MiB)\n"
                "nflog:5 lost: 9 overrun\n"
                "nflog:5 skipped: 10 ipv6, 1 arp\n"
                "nflog:5 remarks: 3 time_clamped\n"));
}

TEST_F(StatusTables, TellOfJournals) {
  EXPECT_THAT(
      Status({kJournal}),
      HasSubstr("JOURNAL  RECORDS  CAPACITY    FULL                 FILE  STATE  OLDEST            "
                "   NEWEST               OVERWRITES\n"
                "all          250      1000  25.0 %  90681344 (86.5 MiB)  open   "
                "2023-11-14 22:13:20  2023-11-15 01:16:39  in 2 h 1 min\n"
                "\n"
                "EVER  APPENDED  MERGED  EVENTS A RECORD  OVERWRITTEN  DAMAGED  LOST\n"
                "all        300     600              3.0           50        1     2\n"
                "\n"
                "SINCE START  EVENTS  PACKETS           BYTES  APPENDED  MERGED  TIME ADJUSTED  "
                "REFUSED\n"
                "all             400      401  4020 (3.9 KiB)       100     300              5    "
                "    6\n"));
}

TEST_F(StatusTables, SayWhenAJournalOverwrites) {
  const auto overwrites = [](const std::string& keys) {
    const std::string row = R"({"kind":"journal","name":"all")" + keys + "}";
    return Status({row.c_str()});
  };
  const std::string bound = R"(,"capacity":10)";
  EXPECT_THAT(overwrites(bound + R"(,"seconds_to_overwriting":0,"seconds_kept":90)"),
              HasSubstr("now, after 1 min 30 s\n"));
  EXPECT_THAT(overwrites(bound + R"(,"seconds_to_overwriting":0,"seconds_kept":null)"),
              HasSubstr("  now\n"));
  EXPECT_THAT(overwrites(bound + R"(,"seconds_to_overwriting":null)"), HasSubstr("  unknown\n"));
  EXPECT_THAT(overwrites(R"(,"capacity":null)"), HasSubstr("  never\n"));
  EXPECT_THAT(overwrites(""), AllOf(Not(HasSubstr("never")), Not(HasSubstr("SINCE START"))));
}

TEST_F(StatusTables, TellOfExclusionsAndProblems) {
  EXPECT_THAT(Status({R"({"kind":"exclusion","name":"noise","packets":7,"bytes":2048})",
                      R"({"kind":"problem","text":"a\nb"})",
                      R"({"kind":"left_out","of":"problem","rows":3})"}),
              HasSubstr("EXCLUSION  PACKETS           BYTES\n"
                        "noise            7  2048 (2.0 KiB)\n"
                        "\n"
                        "problem: a\\x0ab\n"
                        "left out: 3 more of the kind problem\n"));
}

TEST_F(StatusTables, TakeWhatALaterReleaseTells) {
  EXPECT_THAT(Status({R"({"kind":"weather","name":5})", R"({"kind":"journal","name":["odd"]})",
                      R"({"kind":"source","received":"many","skipped_by_reason":7})"}),
              AllOf(HasSubstr("[\"odd\"]"), HasSubstr("many"), Not(HasSubstr("weather"))));
}

TEST_F(StatusTables, ListNames) {
  EXPECT_EQ(Journals({R"({"kind":"group","name":"all","journal":"all","served":true,)"
                      R"("records":250,"oldest_unix":1700000000,"newest_unix":1700010999})",
                      R"({"kind":"interface","name":"eth0","journal":"all","served":true})",
                      R"({"kind":"interface","name":"wan","journal":"all","served":false})"}),
            "NAME  KIND       JOURNAL  SERVED                     RECORDS  OLDEST               "
            "NEWEST\n"
            "all   group      all      yes                            250  2023-11-14 22:13:20  "
            "2023-11-15 01:16:39\n"
            "eth0  interface  all      yes                              -  -                    "
            "-\n"
            "wan   interface  all      no: another has that name        -  -                    "
            "-\n");
}

TEST_F(StatusTables, SayThatThereAreNoNames) {
  EXPECT_EQ(Journals({}), "no journals\n");
  EXPECT_EQ(Journals({R"({"kind":"problem","text":"cannot read"})"}),
            "no journals\n\nproblem: cannot read\n");
}

TEST_F(StatusTables, BecomeOneObjectForPrograms) {
  const auto object = OrderedJson::parse(Printed([](std::FILE* out) {
    PrintStatusJson(Rows({kDaemon, kJournal, R"({"kind":"problem","text":"a"})"}), out);
  }));
  EXPECT_EQ(object.at("daemon").at("started"), "2023-11-14T22:13:20+00:00");
  EXPECT_EQ(object.at("daemon").at("started_unix"), 1700000000);
  EXPECT_FALSE(object.at("daemon").contains("kind"));
  EXPECT_TRUE(object.at("clients").is_null());
  EXPECT_EQ(object.at("sources"), OrderedJson::array());
  EXPECT_EQ(object.at("journals").at(0).at("since_start").at("merged"), 300);
  EXPECT_EQ(object.at("exclusions"), OrderedJson::array());
  EXPECT_EQ(object.at("problems").at(0).at("text"), "a");
}

TEST_F(StatusTables, BecomeALineForEachNameForPrograms) {
  EXPECT_EQ(Printed([](std::FILE* out) {
              PrintJournalsJson(
                  Rows({R"({"kind":"group","name":"all","oldest_unix":0,"newest_unix":null})",
                        R"({"kind":"interface","name":"eth0"})"}),
                  out);
            }),
            R"({"kind":"group","name":"all","oldest":"1970-01-01T00:00:00+00:00","oldest_unix":0,)"
            R"("newest_unix":null})"
            "\n"
            R"({"kind":"interface","name":"eth0"})"
            "\n");
}

}  // namespace
}  // namespace packetdb::host::test
