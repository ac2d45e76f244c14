#include <gtest/gtest.h>

#include "host/printing/row_printer.h"
#include "host/sources/event.h"
#include "tests/host/printing/sample_rows.h"
#include "tests/host/times/time_zone.h"

namespace packetdb::host::test {
namespace {

std::string Table(const std::vector<Row>& rows) {
  return PrintedRows(rows, SampleOptions("table"), Names());
}

class RowsAsATable : public testing::Test {
 protected:
  // The table of one row behind its times, heads included; numbers and flags as in Row().
  static std::string LineOf(const Row& row) {
    const std::string table = Table({row});
    return table.substr(table.find('\n') + 1);
  }

  const TimeZone zone_{"UTC0"};
  Row row_ = DroppedRow();
};

TEST_F(RowsAsATable, HaveAHeadEvenWhenThereAreNone) {
  EXPECT_EQ(Table({}),
            "FIRST SEEN  LAST SEEN  COUNT  BYTES  VERDICT  DIR  PROTO  SOURCE  DESTINATION  "
            "EVENT  RULE\n");
}

TEST_F(RowsAsATable, HaveColumnsAsWideAsWhatTheyHold) {
  Row wide = row_;
  wide.event.m_SrcIp = 0xFFFFFFFF;
  wide.event.m_Count = 4294967295;
  wide.event.m_PacketSize = 4294967295;
  wide.event.m_ErrorCode = 4294967295;
  wide.event.m_Flags = kFlagIn | kFlagOut | kFlagAccepted | kFlagRejected;
  EXPECT_EQ(
      Table({row_, wide}),
      "FIRST SEEN           LAST SEEN                 COUNT       BYTES  VERDICT            DIR  "
      "PROTO  SOURCE                 DESTINATION        EVENT       RULE\n"
      "1980-01-01 00:00:00  1980-01-01 00:01:01           3         180  dropped            in   "
      "tcp    10.0.0.7:40000         192.168.1.1:https  dropped     -\n"
      "1980-01-01 00:00:00  1980-01-01 00:01:01  4294967295  4294967295  accepted+rejected  fwd  "
      "tcp    255.255.255.255:40000  192.168.1.1:https  4294967295  -\n");
}

TEST_F(RowsAsATable, HaveLocalTimes) {
  const TimeZone zone("<+0545>-5:45");
  EXPECT_TRUE(LineOf(row_).starts_with("1980-01-01 05:45:00  1980-01-01 05:46:01  "))
      << LineOf(row_);
}

TEST_F(RowsAsATable, ShowTypeAndCodeOfIcmp) {
  row_.event.m_Protocol = 1;
  row_.event.m_Word10 = 0x0301;
  row_.event.m_SrcPort = row_.event.m_DstPort = 0;
  EXPECT_EQ(LineOf(row_),
            "1980-01-01 00:00:00  1980-01-01 00:01:01      3    180  dropped  in   icmp 3/1  "
            "10.0.0.7  192.168.1.1  dropped  -\n");
}

TEST_F(RowsAsATable, ShowLaterFragmentsInsteadOfWhatTheyDoNotCarry) {
  row_.event.m_Protocol = 1;
  row_.event.m_Flags |= kFlagLaterFragment;
  row_.event.m_SrcPort = row_.event.m_DstPort = 0;
  EXPECT_EQ(LineOf(row_),
            "1980-01-01 00:00:00  1980-01-01 00:01:01      3    180  dropped  in   icmp frag  "
            "10.0.0.7  192.168.1.1  dropped  -\n");
}

TEST_F(RowsAsATable, ShowProtocolsWithoutAWordByNumber) {
  row_.event.m_Protocol = 253;
  EXPECT_NE(LineOf(row_).find("  in   253    10.0.0.7:40000  "), std::string::npos) << LineOf(row_);
}

TEST_F(RowsAsATable, LeavePortsOutThatAreZero) {
  row_.event.m_SrcPort = 0;
  EXPECT_NE(LineOf(row_).find("  10.0.0.7  192.168.1.1:https  "), std::string::npos)
      << LineOf(row_);
}

TEST_F(RowsAsATable, ShowEveryVerdictThereIs) {
  row_.event.m_Flags = kFlagOut | kFlagAccepted | kFlagDropped | kFlagRejected;
  EXPECT_NE(LineOf(row_).find("  accepted+dropped+rejected  out  tcp"), std::string::npos)
      << LineOf(row_);
}

TEST_F(RowsAsATable, ShowADashForNoVerdictAndNoDirection) {
  row_.event.m_Flags = 0x80000000;
  EXPECT_NE(LineOf(row_).find("  -        -    tcp  "), std::string::npos) << LineOf(row_);
}

}  // namespace
}  // namespace packetdb::host::test
