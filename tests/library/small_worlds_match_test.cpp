// Every record of a small world against every query, by Query::match alone.
#include "tests/library/small_worlds.h"

namespace packetdb::test {
namespace {

// Every criterion for the address and the port of either side, in every direction.
std::vector<Query> EveryCriterion(std::vector<Query> queries) {
  for (const auto field :
       {&Query::m_IpSrcFrom, &Query::m_IpSrcTo, &Query::m_IpDstFrom, &Query::m_IpDstTo}) {
    queries = Vary(queries, field, OrNone(kAddresses));
  }
  for (const auto field :
       {&Query::m_PortSrcFrom, &Query::m_PortSrcTo, &Query::m_PortDstFrom, &Query::m_PortDstTo}) {
    queries = Vary(queries, field, OrNone(kPorts));
  }
  const std::vector<std::uint8_t> directions = {0, 1, 2};
  return Vary(queries, &Query::m_Direction, directions);
}

std::vector<PacketDbItem> AsItems(const Records& records) {
  std::vector<PacketDbItem> items;
  for (const Event& record : records) items.push_back(Record(record));
  return items;
}

// All records over three seconds, two addresses and two ports; all ranges of time, of addresses and
// of ports that can tell them apart, on both sides; all directions.
//
// 96 records, 16 ranges of time, 19,683 criteria: 30,233,088 verdicts.
TEST_F(SmallWorlds, EveryVerdictIsTheModels) {
  const std::vector<PacketDbItem> records = AsItems(EveryRecord());
  const std::vector<Query> criteria = EveryCriterion({QueryFor()});
  for (const Query& range : EveryRange({1, 2, 3, 4}, {0, 1, 2, 3})) {
    for (Query query : criteria) {
      query.m_Protocols = range.m_Protocols;
      query.m_TimeStart = range.m_TimeStart;
      query.m_TimeEnd = range.m_TimeEnd;
      for (const PacketDbItem& record : records) {
        const CDrvErrorItemV4& event = record.m_Item;
        const bool meets = event.m_FirstTime + TIME_1980_OFFSET <= query.m_TimeEnd &&
                           event.m_LastTime + TIME_1980_OFFSET >= query.m_TimeStart;
        ASSERT_EQ(query.match(record), meets && ModelEndpoints(query, event))
            << Describe(query) << " of " << Text(record);
        ++cases_;
      }
    }
  }
  EXPECT_EQ(cases_, 30233088);
}

}  // namespace
}  // namespace packetdb::test
