#include <gtest/gtest.h>

#include "host/printing/row_printer.h"
#include "host/sources/event.h"
#include "tests/host/printing/sample_rows.h"
#include "tests/host/times/time_zone.h"

namespace packetdb::host::test {
namespace {

std::string JsonOf(const std::vector<Row>& rows) {
  return PrintedRows(rows, SampleOptions("ndjson"), Names());
}

class RowsAsJson : public testing::Test {
 protected:
  RowsAsJson() {
    row_ = DroppedRow();
    row_.event.m_SrcId = 5;
    row_.event.m_DstId = 6;
  }
  bool Has(const std::string& text) const { return JsonOf({row_}).find(text) != std::string::npos; }

  const TimeZone zone_{"<+01>-1"};
  Row row_;
};

TEST_F(RowsAsJson, AreNothingWhenThereAreNone) { EXPECT_EQ(JsonOf({}), ""); }

TEST_F(RowsAsJson, HaveEveryFieldThatTheBusCarriesAndWhatItMeans) {
  EXPECT_EQ(JsonOf({row_}),
            R"({"first_seen":"1980-01-01T01:00:00+01:00","first_seen_unix":315532800,)"
            R"("last_seen":"1980-01-01T01:01:01+01:00","last_seen_unix":315532861,)"
            R"("count":3,"bytes":180,"protocol":"tcp","protocol_number":6,)"
            R"("src":"10.0.0.7","src_port":40000,"src_node":5,)"
            R"("dst":"192.168.1.1","dst_port":443,"dst_node":6,)"
            R"("event_name":"dropped","event":1,"flags":["in","dropped"],"flags_value":33,)"
            R"("verdict":"dropped","dir":"in","duration":61})"
            "\n");
}

TEST_F(RowsAsJson, AreALineEachInTheirOrder) {
  Row second = row_;
  second.event.m_Count = 4;
  EXPECT_EQ(JsonOf({row_, second}), JsonOf({row_}) + JsonOf({second}));
}

TEST_F(RowsAsJson, HaveUnsignedNumbersToTheirLast) {
  row_.event.m_Count = row_.event.m_ErrorCode = row_.event.m_LastTime = 4294967295;
  EXPECT_TRUE(Has(R"("count":4294967295,)"));
  EXPECT_TRUE(Has(R"("event":4294967295,)"));
  EXPECT_TRUE(Has(R"("last_seen":"2116-02-07T07:28:15+01:00","last_seen_unix":4610500095)"));
}

TEST_F(RowsAsJson, HaveTypeAndCodeOfIcmp) {
  row_.event.m_Protocol = 1;
  row_.event.m_Word10 = 0x0301;
  EXPECT_TRUE(Has(R"("dst_node":6,"icmp_type":3,"icmp_code":1,"event_name")")) << JsonOf({row_});
}

TEST_F(RowsAsJson, HaveNoIcmpTypeForOtherProtocols) {
  row_.event.m_Word10 = 0x0301;
  EXPECT_FALSE(Has("icmp"));
}

TEST_F(RowsAsJson, HaveNoIcmpTypeForLaterFragmentsWhichDoNotCarryIt) {
  row_.event.m_Protocol = 1;
  row_.event.m_Flags |= kFlagLaterFragment;
  EXPECT_FALSE(Has("icmp_type"));
  EXPECT_FALSE(Has("icmp_code"));
  EXPECT_TRUE(Has(R"("flags":["in","dropped","later-fragment"])"));
}

TEST_F(RowsAsJson, HaveZeroPorts) {
  row_.event.m_SrcPort = 0;
  EXPECT_TRUE(Has(R"("src_port":0,)"));
}

TEST_F(RowsAsJson, HaveProtocolsWithoutAWordAsNumberInText) {
  row_.event.m_Protocol = 253;
  EXPECT_TRUE(Has(R"("protocol":"253","protocol_number":253)"));
}

TEST_F(RowsAsJson, HaveNoFlagsAsAnEmptyList) {
  row_.event.m_Flags = 0;
  EXPECT_TRUE(Has(R"("flags":[],"flags_value":0,"duration")"));
}

TEST_F(RowsAsJson, HaveFlagsWithoutAWordAsBits) {
  row_.event.m_Flags = 0x80000010;
  EXPECT_TRUE(Has(R"("flags":["accepted","0x80000000"],"flags_value":2147483664)"));
}

}  // namespace
}  // namespace packetdb::host::test
