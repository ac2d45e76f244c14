#include <gtest/gtest.h>

#include "host/cli/rows.h"
#include "host/sources/event.h"
#include "tests/host/cli/captured.h"
#include "tests/host/times/time_zone.h"

namespace packetdb::host::test {
namespace {

std::string Table(const Rows& rows) {
  return Printed([&](std::FILE* out) { PrintTable(rows, out); });
}

// A TCP packet that was dropped on its way in, seen in the first second of 1980.
PacketDbClientItem Row() {
  PacketDbClientItem row;
  row.m_Item.m_SrcIp = 0x0A000007;
  row.m_Item.m_DstIp = 0xC0A80101;
  row.m_Item.m_SrcPort = 40000;
  row.m_Item.m_DstPort = 443;
  row.m_Item.m_Protocol = 6;
  row.m_Item.m_Flags = kFlagIn | kFlagDropped;
  row.m_Item.m_ErrorCode = 1;
  row.m_Item.m_Count = 3;
  row.m_Item.m_PacketSize = 180;
  row.m_Item.m_LastTime = 61;
  return row;
}

class RowsAsATable : public testing::Test {
 protected:
  // The table of one row behind its times, heads included; numbers and flags as in Row().
  static std::string LineOf(const PacketDbClientItem& row) {
    const std::string table = Table({row});
    return table.substr(table.find('\n') + 1);
  }

  const TimeZone zone_{"UTC0"};
  PacketDbClientItem row_ = Row();
};

TEST_F(RowsAsATable, HaveAHeadEvenWhenThereAreNone) {
  EXPECT_EQ(Table({}),
            "FIRST SEEN  LAST SEEN  COUNT  BYTES  VERDICT  DIR  PROTO  SOURCE  DESTINATION  "
            "EVENT\n");
}

TEST_F(RowsAsATable, HaveColumnsAsWideAsWhatTheyHold) {
  PacketDbClientItem wide = row_;
  wide.m_Item.m_SrcIp = 0xFFFFFFFF;
  wide.m_Item.m_Count = 4294967295;
  wide.m_Item.m_PacketSize = 4294967295;
  wide.m_Item.m_ErrorCode = 4294967295;
  wide.m_Item.m_Flags = kFlagIn | kFlagOut | kFlagAccepted | kFlagRejected;
  EXPECT_EQ(
      Table({row_, wide}),
      "FIRST SEEN           LAST SEEN                 COUNT       BYTES  VERDICT            DIR  "
      "PROTO  SOURCE                 DESTINATION           EVENT\n"
      "1980-01-01 00:00:00  1980-01-01 00:01:01           3         180  dropped            in   "
      "tcp    10.0.0.7:40000         192.168.1.1:443           1\n"
      "1980-01-01 00:00:00  1980-01-01 00:01:01  4294967295  4294967295  accepted+rejected  fwd  "
      "tcp    255.255.255.255:40000  192.168.1.1:443  4294967295\n");
}

TEST_F(RowsAsATable, HaveLocalTimes) {
  const TimeZone zone("<+0545>-5:45");
  EXPECT_TRUE(LineOf(row_).starts_with("1980-01-01 05:45:00  1980-01-01 05:46:01  "))
      << LineOf(row_);
}

TEST_F(RowsAsATable, ShowTypeAndCodeOfIcmp) {
  row_.m_Item.m_Protocol = 1;
  row_.m_Item.m_Word10 = 0x0301;
  row_.m_Item.m_SrcPort = row_.m_Item.m_DstPort = 0;
  EXPECT_EQ(LineOf(row_),
            "1980-01-01 00:00:00  1980-01-01 00:01:01      3    180  dropped  in   icmp 3/1  "
            "10.0.0.7  192.168.1.1      1\n");
}

TEST_F(RowsAsATable, ShowLaterFragmentsInsteadOfWhatTheyDoNotCarry) {
  row_.m_Item.m_Protocol = 1;
  row_.m_Item.m_Flags |= kFlagLaterFragment;
  row_.m_Item.m_SrcPort = row_.m_Item.m_DstPort = 0;
  EXPECT_EQ(LineOf(row_),
            "1980-01-01 00:00:00  1980-01-01 00:01:01      3    180  dropped  in   icmp frag  "
            "10.0.0.7  192.168.1.1      1\n");
}

TEST_F(RowsAsATable, ShowProtocolsWithoutAWordByNumber) {
  row_.m_Item.m_Protocol = 253;
  EXPECT_NE(LineOf(row_).find("  in   253    10.0.0.7:40000  "), std::string::npos) << LineOf(row_);
}

TEST_F(RowsAsATable, LeavePortsOutThatAreZero) {
  row_.m_Item.m_SrcPort = 0;
  EXPECT_NE(LineOf(row_).find("  10.0.0.7  192.168.1.1:443  "), std::string::npos) << LineOf(row_);
}

TEST_F(RowsAsATable, ShowEveryVerdictThereIs) {
  row_.m_Item.m_Flags = kFlagOut | kFlagAccepted | kFlagDropped | kFlagRejected;
  EXPECT_NE(LineOf(row_).find("  accepted+dropped+rejected  out  tcp"), std::string::npos)
      << LineOf(row_);
}

TEST_F(RowsAsATable, ShowADashForNoVerdictAndNoDirection) {
  row_.m_Item.m_Flags = 0x80000000;
  EXPECT_NE(LineOf(row_).find("  -        -    tcp  "), std::string::npos) << LineOf(row_);
}

TEST(AddressAsText, IsInHostByteOrder) {
  EXPECT_EQ(AddressText(0x0A000007), "10.0.0.7");
  EXPECT_EQ(AddressText(0), "0.0.0.0");
  EXPECT_EQ(AddressText(0xFFFFFFFF), "255.255.255.255");
}

}  // namespace
}  // namespace packetdb::host::test
