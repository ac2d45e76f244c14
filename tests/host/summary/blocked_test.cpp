#include "host/summary/blocked.h"

#include <gtest/gtest.h>

#include "host/sources/event.h"
#include "tests/host/summary/summary_rows.h"

namespace packetdb::host::test {
namespace {

std::string BlockedOf(const std::vector<Row>& rows, const std::string& format,
                      const BlockedOptions& options = {}) {
  return PrintedSummary<Blocked>(options, rows, SampleOptions(format));
}

class BlockedTest : public testing::Test {
 protected:
  static Row RejectedRow() {
    Row row = RowFrom(8, 22, 9, 1763719260 - TIME_1980_OFFSET);
    row.event.m_Flags = kFlagIn | kFlagRejected | 2U << kRuleShift;
    return row;
  }

  const TimeZone zone_{"UTC0"};
};

TEST_F(BlockedTest, TellsWhoWasRefusedWhereAndByWhichRule) {
  EXPECT_EQ(BlockedOf({RowFrom(7, 443, 1), RejectedRow()}, "table"),
            "SRC       PROTO  DPORT  VERDICT   RULE           RULE TEXT         DST          COUNT"
            "  BYTES  EVENTS   SHARE  FIRST SEEN           LAST SEEN\n"
            "10.0.0.8  tcp       22  rejected  a\\nb\\x1b[31m   \\xe2\\x80\\xaeevil  192.168.1.1"
            "      9    540       1  90.00%  2025-11-21 10:01:00  2025-11-21 10:01:00\n"
            "10.0.0.7  tcp    https  dropped   -              -                 192.168.1.1      1"
            "     60       1  10.00%  1980-01-01 00:00:00  1980-01-01 00:00:00\n");
}

TEST_F(BlockedTest, RuleIsCalledWhatItsNumberMeantWhenItWasLastSeen) {
  Names names;
  names.SetRules(RuleDictionary::Parse(
      "packetdb-rules 1\n"
      "rule 2 1763719260 3 none 0x0 \"fw \\x22web\\x22: \" \"\" 1c151e64\n"
      "rule 2 1763910000 44 drop 0x2000000 \"fw \\x22web\\x22: \" \"from outside\" 6a0ba87a\n",
      "the test"));
  Row row = RejectedRow();
  const PrintOptions print = SampleOptions("template={rule_text}");
  EXPECT_EQ(PrintedSummary<Blocked>(BlockedOptions(), {row}, print, names), "-\n");
  row.event.m_LastTime = 1763910000 - TIME_1980_OFFSET;
  EXPECT_EQ(PrintedSummary<Blocked>(BlockedOptions(), {row}, print, names), "from outside\n");
}

TEST_F(BlockedTest, PassesOverWhatWasAccepted) {
  Row accepted = RowFrom(7, 443, 1);
  accepted.event.m_Flags = kFlagIn | kFlagAccepted;
  Row both = RowFrom(9, 443, 1);
  both.event.m_Flags = kFlagAccepted | kFlagDropped;
  EXPECT_EQ(BlockedOf({accepted, both}, "template={src} {share}"), "10.0.0.9 100.00%\n");
}

TEST_F(BlockedTest, OneThatWantedToGoToManyIsOneLine) {
  Row other = RowFrom(7, 443, 2);
  other.event.m_DstIp = 1;
  const std::vector<Row> rows{RowFrom(7, 443, 1), other, other};
  EXPECT_EQ(BlockedOf(rows, "template={src} {dst} {count}"), "10.0.0.7 several 5\n");
  const std::string json = BlockedOf(rows, "json");
  EXPECT_EQ(json.find("\"dst\""), std::string::npos) << json;
}

TEST_F(BlockedTest, SeveralDestinationsStaySeveralInTheFile) {
  std::vector<Row> rows;
  for (const std::uint32_t host : {1U, 2U, 3U, 1U, 2U, 3U, 1U})
    rows.push_back(RowFrom(host, 22, host));
  rows[3].event.m_DstIp = 1;
  BlockedOptions options;
  options.most_keys = 1;
  EXPECT_EQ(BlockedOf(rows, "template={src} {dst}", options),
            "10.0.0.3 192.168.1.1\n10.0.0.2 192.168.1.1\n10.0.0.1 several\n");
}

TEST_F(BlockedTest, HasNumberAndPrefixOfARuleInJson) {
  const std::string json = BlockedOf({RejectedRow()}, "ndjson");
  EXPECT_NE(json.find(R"("rule":"a\nb\u001b[31m ","rule_number":2,)"), std::string::npos) << json;
}

TEST_F(BlockedTest, HasNoMoreThanAreAskedFor) {
  BlockedOptions options;
  options.most = 1;
  options.sort = SumKind::kEvents;
  const std::vector<Row> rows{RowFrom(7, 443, 9), RowFrom(8, 443, 1), RowFrom(8, 443, 1)};
  EXPECT_EQ(BlockedOf(rows, "template={src} {events}", options), "10.0.0.8 2\n");
}

}  // namespace
}  // namespace packetdb::host::test
