// The query as a value, and the hash of interface names.
#include "packetdb/query.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <type_traits>

#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

TEST(QueryValue, IsEmptyAndOfTheCurrentVersion) {
  const Query query;
  EXPECT_EQ(query.m_Version, packetdb::version);
  EXPECT_EQ(std::string(query.m_Interface, 32), std::string(32, '\0'));
  EXPECT_TRUE(query.m_Protocols.empty());
  EXPECT_TRUE(query.m_Errcodes.empty());
  EXPECT_EQ(query.m_TimeStart, 0);
  EXPECT_EQ(query.m_TimeEnd, 0);
  EXPECT_EQ(query.m_RecCount, 0u);
  EXPECT_EQ(query.m_FlagsWanted, 0u);
  EXPECT_EQ(query.m_FlagsNotWanted, 0u);
  EXPECT_EQ(query.m_Direction, 0);
  EXPECT_EQ(query.m_AdapterNameHash, 0u);
}

TEST(QueryValue, RestrictsNoEndpoint) {
  const Query query;
  EXPECT_EQ(query.m_IdSrc + query.m_IdDst, 0u);
  EXPECT_EQ(query.m_IpSrcFrom + query.m_IpSrcTo + query.m_IpDstFrom + query.m_IpDstTo, 0u);
  EXPECT_EQ(query.m_PortSrcFrom + query.m_PortSrcTo, 0);
  EXPECT_EQ(query.m_PortDstFrom + query.m_PortDstTo, 0);
}

TEST(QueryValue, TakesTheVersionItIsGiven) {
  const Query query(7);
  EXPECT_EQ(query.m_Version, 7);
  EXPECT_EQ(query.m_TimeEnd, 0);
  EXPECT_EQ(Query(0).m_Version, 0);
}

TEST(QueryValue, CopyHasListsOfItsOwn) {
  Query query;
  query.m_Protocols.push_back(6);
  query.m_Errcodes.push_back(-1);
  const Query copy(query);
  query.m_Protocols.clear();
  query.m_Errcodes.clear();
  EXPECT_THAT(copy.m_Protocols, ::testing::ElementsAre(6));
  EXPECT_THAT(copy.m_Errcodes, ::testing::ElementsAre(-1));
}

template <class T>
const void* Place(const T& field) {
  return &field;
}

TEST(QueryValue, FieldsStandInTheirOrder) {
  const Query q;
  const std::vector<const void*> places = {
      Place(q.m_Interface),   Place(q.m_Protocols),   Place(q.m_Errcodes),
      Place(q.m_Version),     Place(q.m_TimeStart),   Place(q.m_TimeEnd),
      Place(q.m_RecCount),    Place(q.m_FlagsWanted), Place(q.m_FlagsNotWanted),
      Place(q.m_Direction),   Place(q.m_IdSrc),       Place(q.m_IdDst),
      Place(q.m_IpSrcFrom),   Place(q.m_IpSrcTo),     Place(q.m_IpDstFrom),
      Place(q.m_IpDstTo),     Place(q.m_PortSrcFrom), Place(q.m_PortSrcTo),
      Place(q.m_PortDstFrom), Place(q.m_PortDstTo),   Place(q.m_AdapterNameHash)};
  EXPECT_EQ(places.front(), &q);
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end(), std::less<>()));
  EXPECT_EQ(sizeof q.m_Interface, 32u);
}

TEST(QueryValue, ListsAreVectors) {
  EXPECT_TRUE((std::is_base_of_v<std::vector<unsigned char>, Protocols>));
  EXPECT_TRUE((std::is_base_of_v<std::vector<int>, Errcodes>));
}

TEST(QueryValue, EndpointFieldsStandInTheirOrder) {
  EXPECT_EQ(offsetof(endpoint, id), 0u);
  EXPECT_EQ(offsetof(endpoint, ip_from), 4u);
  EXPECT_EQ(offsetof(endpoint, ip_to), 8u);
  EXPECT_EQ(offsetof(endpoint, port_from), 12u);
  EXPECT_EQ(offsetof(endpoint, port_to), 14u);
}

TEST(QueryValue, CommandIsOneHundred) {
  EXPECT_EQ(UDB_GET_DBQUERY, 100);
  EXPECT_EQ(UDB_QUERY_FAILED, -101);
}

// The values were computed with another program from the definition of the hash.
TEST(AdapterNameHash, HasTheDefinedValues) {
  EXPECT_EQ(adapter_name_hash(""), 0u);
  EXPECT_EQ(adapter_name_hash(std::string_view("\0", 1)), 0xe6546b64u);
  EXPECT_EQ(adapter_name_hash("eth0"), 0x5365ff8481955634u);
  EXPECT_EQ(adapter_name_hash("eth1"), 0x4eead2269f846bd7u);
  EXPECT_EQ(adapter_name_hash("ppp0:1"), 0x6c1497bc956fde54u);
  EXPECT_EQ(adapter_name_hash("0123456789abcdef0123456789abcdef"), 0xee10fed4ea8e7cb8u);
}

TEST(AdapterNameHash, ExtendsBytesWithZeros) {
  EXPECT_EQ(adapter_name_hash("\x80"), 0xb43322de7113f593u);
  EXPECT_EQ(adapter_name_hash("\xff\x80"), 0xb35ab708e25c9d89u);
}

TEST(AdapterNameHash, TellsOrderAndCaseApart) {
  EXPECT_NE(adapter_name_hash("ab"), adapter_name_hash("ba"));
  EXPECT_NE(adapter_name_hash("ETH0"), adapter_name_hash("eth0"));
}

}  // namespace
}  // namespace packetdb::test
