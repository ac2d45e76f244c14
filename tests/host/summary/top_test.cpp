#include "host/summary/top.h"

#include <gtest/gtest.h>

#include "host/sources/event.h"
#include "tests/host/summary/summary_rows.h"

namespace packetdb::host::test {
namespace {

std::string TopOf(const std::vector<Row>& rows, const char* by, const std::string& format,
                  SumKind sort = SumKind::kCount, std::size_t most = 10) {
  TopOptions options;
  options.by = ParseKeyFields(by);
  options.sort = sort;
  options.most = most;
  return PrintedSummary<Top>(options, rows, SampleOptions(format));
}

class TopTest : public testing::Test {
 protected:
  const TimeZone zone_{"UTC0"};
  const std::vector<Row> rows_{RowFrom(7, 443, 3, 5), RowFrom(8, 22, 10, 1), RowFrom(7, 443, 2, 9)};
};

TEST_F(TopTest, HasTheLargestGroupsInFront) {
  EXPECT_EQ(TopOf(rows_, "src,dst_port", "table"),
            "SRC       DPORT  COUNT  BYTES  EVENTS   SHARE  FIRST SEEN           LAST SEEN\n"
            "10.0.0.8     22     10    600       1  66.67%  1980-01-01 00:00:01  "
            "1980-01-01 00:00:01\n"
            "10.0.0.7    443      5    300       2  33.33%  1980-01-01 00:00:05  "
            "1980-01-01 00:00:09\n");
}

TEST_F(TopTest, IsSortedByWhatIsAskedFor) {
  EXPECT_EQ(TopOf(rows_, "src", "template={src} {share}", SumKind::kEvents),
            "10.0.0.7 66.67%\n10.0.0.8 33.33%\n");
}

TEST_F(TopTest, HasNoMoreThanAreAskedForAndSharesOfAll) {
  EXPECT_EQ(TopOf(rows_, "src", "template={src} {share}", SumKind::kBytes, 1), "10.0.0.8 66.67%\n");
  EXPECT_EQ(TopOf(rows_, "src", "template={src}", SumKind::kBytes, 0), "");
}

TEST_F(TopTest, OfThoseWithTheSameSumTheLowestKeysAreTaken) {
  std::vector<Row> rows;
  for (const std::uint32_t host : {9U, 3U, 7U, 5U}) rows.push_back(RowFrom(host, 443, 1));
  EXPECT_EQ(TopOf(rows, "src", "template={src}", SumKind::kCount, 2), "10.0.0.3\n10.0.0.5\n");
}

TEST_F(TopTest, HasNumbersAsNumbersInJson) {
  EXPECT_EQ(TopOf({rows_[1]}, "proto,dport", "ndjson"),
            R"({"protocol":"tcp","protocol_number":6,"dst_port":22,"count":10,"bytes":600,)"
            R"("events":1,"share":1.0000,"first_seen":"1980-01-01T00:00:01+00:00",)"
            R"("first_seen_unix":315532801,"last_seen":"1980-01-01T00:00:01+00:00",)"
            R"("last_seen_unix":315532801})"
            "\n");
}

TEST_F(TopTest, HasColumnsForPrograms) {
  EXPECT_EQ(TopOf(rows_, "src", "csv", SumKind::kCount, 1),
            "src,count,bytes,events,share,first,last\r\n"
            "10.0.0.8,10,600,1,0.6667,1980-01-01T00:00:01+00:00,1980-01-01T00:00:01+00:00\r\n");
  EXPECT_EQ(TopOf(rows_, "src", "raw", SumKind::kCount, 1),
            "167772168\t10\t600\t1\t6667\t315532801\t315532801\n");
}

TEST_F(TopTest, HasNamesOfPortsWhereTheProtocolIsKnown) {
  EXPECT_EQ(TopOf({rows_[0]}, "proto,dport", "template={proto} {dst_port}"), "tcp https\n");
  EXPECT_EQ(TopOf({rows_[0]}, "dport", "template={dst_port}"), "443\n");
}

TEST_F(TopTest, HasNumbersOnlyWhereThatIsAskedFor) {
  TopOptions options;
  options.by = ParseKeyFields("proto,dport,event");
  PrintOptions print = SampleOptions("template={proto} {dst_port} {event}");
  print.numeric = true;
  EXPECT_EQ(PrintedSummary<Top>(options, rows_, print), "6 22 1\n6 443 1\n");
}

TEST_F(TopTest, TellsApartWhatTheFlagsSayInTheFieldsThatSayIt) {
  std::vector<Row> rows{rows_[0], rows_[1]};
  rows[1].event.m_Flags = kFlagIn | kFlagOut | kFlagRejected | 5U << kRuleShift;
  EXPECT_EQ(TopOf(rows, "verdict,dir,rule", "template={verdict} {dir} {rule}"),
            "rejected fwd 5\ndropped in -\n");
  EXPECT_EQ(TopOf(rows, "flags", "template={flags}"), "in+out+rejected\nin+dropped\n");
}

TEST_F(TopTest, OfNoRowsIsAHeadOnly) {
  EXPECT_EQ(TopOf({}, "src", "tsv"), "src\tcount\tbytes\tevents\tshare\tfirst\tlast\n");
  EXPECT_EQ(TopOf({}, "src", "json"), "[]\n");
}

TEST_F(TopTest, SumsAreWiderThanThoseOfARecord) {
  const std::vector<Row> rows(3, RowFrom(7, 443, UINT32_MAX));
  EXPECT_EQ(TopOf(rows, "src", "template={count}"), "12884901885\n");
}

TEST(SumKindTest, AnUnknownOneIsRefusedWithTheNearest) {
  EXPECT_EQ(ParseSumKind("bytes"), SumKind::kBytes);
  EXPECT_EQ(ParseSumKind("events"), SumKind::kEvents);
  try {
    ParseSumKind("conut");
    ADD_FAILURE() << "it was taken";
  } catch (const PrintError& error) {
    EXPECT_STREQ(error.what(),
                 "'conut' is no sum: give count, bytes or events; did you mean count?");
  }
}

}  // namespace
}  // namespace packetdb::host::test
