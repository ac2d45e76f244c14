// The whole of a query at once: small journals of full records, asked for everything together.
#include "tests/library/small_worlds.h"

namespace packetdb::test {
namespace {

// What a side is asked for: 0 nothing, 1 a port, 2 an address, 3 both.
int Kind(std::uint32_t ip, std::uint16_t port) { return 2 * (ip != 0) + (port != 0); }

bool AsksMoreOfTheSource(const Query& query) {
  return Kind(query.m_IpSrcFrom, query.m_PortSrcFrom) >
         Kind(query.m_IpDstFrom, query.m_PortDstFrom);
}

bool EndsBeforeItStarts(const Query& query) { return query.m_TimeEnd < query.m_TimeStart; }

// Every query over the seconds for any, the one or the other address and port of either side, with
// and without a limit, in one direction and in both.
std::vector<Query> EveryQuery() {
  std::vector<Query> queries = EveryRange(kSeconds, kSeconds);
  queries = Vary(queries, &Query::m_IpSrcFrom, OrNone(kAddresses));
  queries = Vary(queries, &Query::m_IpDstFrom, OrNone(kAddresses));
  queries = Vary(queries, &Query::m_PortSrcFrom, OrNone(kPorts));
  queries = Vary(queries, &Query::m_PortDstFrom, OrNone(kPorts));
  queries = Vary(queries, &Query::m_RecCount, {0u, 1u});
  const std::vector<std::uint8_t> directions = {0, 1};
  return Vary(queries, &Query::m_Direction, directions);
}

bool ComesFromTheFirst(const Records& journal) {
  return journal.empty() ||
         (journal[0].m_SrcIp == kAddresses[0] && journal[0].m_SrcPort == kPorts[0]);
}

// All journals of up to two records over three seconds, two addresses and two ports, against all
// queries, mirror images apart. These criteria know equal and different only, and every verdict is
// tried by itself, so a case stays what it is when in journal and query together
// - the two addresses change places, or the two ports: the oldest record comes from the first;
// - the two sides do: the source is never asked for more than the destination.
// Ranges that end before they start select nothing, as the walks over more records show.
//
// 1,625 journals (1 + 96 / 4 + 6,400 / 4), 6 ranges, 53 criteria, 2 limits, 2 directions:
// 2,067,000 cases.
TEST_F(SmallWorlds, EveryQueryOfTwoRecordsSelectsAsTheModelDoes) {
  std::vector<Query> queries = EveryQuery();
  std::erase_if(queries, AsksMoreOfTheSource);
  std::erase_if(queries, EndsBeforeItStarts);
  for (const Records& journal : EveryJournal(EveryRecord(), 2)) {
    if (!ComesFromTheFirst(journal) || HasFatalFailure()) continue;
    Fill(journal, 0);
    ExpectModel(queries);
  }
  EXPECT_EQ(cases_, 2067000);
}

}  // namespace
}  // namespace packetdb::test
