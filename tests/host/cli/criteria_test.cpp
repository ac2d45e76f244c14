#include "host/cli/criteria.h"

#include <gmock/gmock.h>
#include <tuple>

#include "host/times/parse_time.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

constexpr std::int64_t kNow = 1'000'000'000;

// Every field of a query, for comparison.
auto FieldsOf(const Query& query) {
  const std::string interface(query.m_Interface, sizeof query.m_Interface);
  return std::make_tuple(
      interface, std::vector<unsigned char>(query.m_Protocols), std::vector<int>(query.m_Errcodes),
      query.m_Version, query.m_TimeStart, query.m_TimeEnd, query.m_RecCount, query.m_FlagsWanted,
      query.m_FlagsNotWanted, query.m_Direction, query.m_IdSrc, query.m_IdDst, query.m_IpSrcFrom,
      query.m_IpSrcTo, query.m_IpDstFrom, query.m_IpDstTo, query.m_PortSrcFrom, query.m_PortSrcTo,
      query.m_PortDstFrom, query.m_PortDstTo, query.m_AdapterNameHash);
}

class CriteriaOfAQuery : public testing::Test {
 protected:
  CriteriaOfAQuery() {
    given_.name = "lan";
    std::string("lan").copy(expected_.m_Interface, 3);
    expected_.m_TimeEnd = kLatestQueryTime;
  }
  void ExpectQuery() { EXPECT_EQ(FieldsOf(MakeQuery(given_, kNow)), FieldsOf(expected_)); }

  Criteria given_;
  Query expected_;
};

TEST_F(CriteriaOfAQuery, AreNoneButTheNameAndTheLatestTimeByDefault) { ExpectQuery(); }

TEST_F(CriteriaOfAQuery, HaveANameOfUpTo31Bytes) {
  given_.name = std::string(31, 'x');
  given_.name.copy(expected_.m_Interface, 31);
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveASinceTime) {
  given_.since = "@12345";
  expected_.m_TimeStart = 12345;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveAnUntilTime) {
  given_.until = "@12345";
  expected_.m_TimeEnd = 12345;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, CountTimesFromTheGivenNow) {
  given_.since = "-10s";
  given_.until = "now";
  expected_.m_TimeStart = kNow - 10;
  expected_.m_TimeEnd = kNow;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, MayBeOneSecond) {
  given_.since = given_.until = "@12345";
  expected_.m_TimeStart = expected_.m_TimeEnd = 12345;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveALimit) {
  given_.limit = "4294967295";
  expected_.m_RecCount = 4294967295;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveASourceAddress) {
  given_.src = "10.0.0.7";
  expected_.m_IpSrcFrom = 0x0A000007;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveASourceNetwork) {
  given_.src = "10.0.0.0/8";
  expected_.m_IpSrcFrom = 0x0A000000;
  expected_.m_IpSrcTo = 0x0AFFFFFF;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveADestinationRange) {
  given_.dst = "10.0.0.1-10.0.0.9";
  expected_.m_IpDstFrom = 0x0A000001;
  expected_.m_IpDstTo = 0x0A000009;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveASourcePort) {
  given_.src_port = "1024-2047";
  expected_.m_PortSrcFrom = 1024;
  expected_.m_PortSrcTo = 2047;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveADestinationPort) {
  given_.dst_port = "443";
  expected_.m_PortDstFrom = 443;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveADestinationPortRange) {
  given_.dst_port = "1-2";
  expected_.m_PortDstFrom = 1;
  expected_.m_PortDstTo = 2;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveASourceNode) {
  given_.src_node = "7";
  expected_.m_IdSrc = 7;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveADestinationNode) {
  given_.dst_node = "0xFFFFFFFF";
  expected_.m_IdDst = 0xFFFFFFFF;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveProtocolsInTheirOrder) {
  given_.protocols = "udp,6,other,254,0x2f";
  expected_.m_Protocols.assign({17, 6, 255, 254, 47});
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveEventCodesAndGroupsInTheirOrder) {
  given_.events = "1,-1,1999,-15";
  expected_.m_Errcodes.assign({1, -1, 1999, -15});
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveFlagsByNameAndAsBits) {
  given_.flags = "in,dropped,0x80000000,8";
  expected_.m_FlagsWanted = 0x80000029;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, HaveFlagsThatMustNotBeSet) {
  given_.not_flags = "out,fragment";
  expected_.m_FlagsNotWanted = 0x102;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, MayWantAndNotWantDifferentFlags) {
  given_.flags = "in";
  given_.not_flags = "out";
  expected_.m_FlagsWanted = 1;
  expected_.m_FlagsNotWanted = 2;
  ExpectQuery();
}

TEST_F(CriteriaOfAQuery, MayHoldInBothDirections) {
  given_.both_directions = true;
  expected_.m_Direction = 1;
  ExpectQuery();
}

TEST(CriterionOptionTable, HasEachTextOnceAndNoneTwice) {
  Criteria criteria;
  std::vector<std::string> names;
  for (const CriterionOption& option : CriterionOptions()) {
    EXPECT_EQ(criteria.*option.text, "") << option.names << " fills the text of another option";
    criteria.*option.text = option.names;
    names.emplace_back(option.names);
    EXPECT_STRNE(option.value, "");
    EXPECT_STRNE(option.help, "");
  }
  EXPECT_THAT(names,
              ElementsAre("-S,--since", "-U,--until", "-n,--limit", "--src", "--dst", "--src-port",
                          "--dst-port", "--src-node", "--dst-node", "-p,--protocol", "-e,--event",
                          "--flags,--flag", "--not-flags,--not-flag"));
}

TEST(CriterionOptionTable, LeadsToTheTextOfItsName) {
  Criteria criteria;
  for (const CriterionOption& option : CriterionOptions()) criteria.*option.text = option.names;
  EXPECT_EQ(criteria.since, "-S,--since");
  EXPECT_EQ(criteria.until, "-U,--until");
  EXPECT_EQ(criteria.limit, "-n,--limit");
  EXPECT_EQ(criteria.src, "--src");
  EXPECT_EQ(criteria.dst, "--dst");
  EXPECT_EQ(criteria.src_port, "--src-port");
  EXPECT_EQ(criteria.dst_port, "--dst-port");
  EXPECT_EQ(criteria.src_node, "--src-node");
  EXPECT_EQ(criteria.dst_node, "--dst-node");
  EXPECT_EQ(criteria.protocols, "-p,--protocol");
  EXPECT_EQ(criteria.events, "-e,--event");
  EXPECT_EQ(criteria.flags, "--flags,--flag");
  EXPECT_EQ(criteria.not_flags, "--not-flags,--not-flag");
}

}  // namespace
}  // namespace packetdb::host::test
