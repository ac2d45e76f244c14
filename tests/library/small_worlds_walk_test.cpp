// Every small journal, walked and limited as the model does.
#include "tests/library/small_worlds.h"

namespace packetdb::test {
namespace {

// All journals of up to four records over three seconds, all ranges, limits and merge windows, and
// all patterns of records that meet or miss the other criteria.
//
// Which criterion a record misses is nothing that the walk could see: it asks Query::match, whose
// every verdict is tried by itself. So a pattern is made by one criterion, the address that packets
// came from. A range can start before no less than all of the seconds and end behind no more, a
// window of 2 already reaches from any second to any other, and what a limit of as many records as
// there are does, three records show.
//
// 5,649 journals, 16 ranges, 4 limits, 3 windows: 1,084,608 cases.
TEST_F(SmallWorlds, EveryJournalIsWalkedAndLimitedAsTheModelDoes) {
  std::vector<Query> queries = EveryRange({1, 2, 3, 4}, {0, 1, 2, 3});
  queries = Vary(queries, &Query::m_IpSrcFrom, {kAddresses.front()});
  queries = Vary(queries, &Query::m_RecCount, {0u, 1u, 2u, 3u});
  for (const Records& journal : EveryJournal(RecordsFromAddresses(), 4)) {
    for (time_t window = 0; window <= 2 && !HasFatalFailure(); ++window) {
      Fill(journal, window);
      ExpectModel(queries);
    }
  }
  EXPECT_EQ(cases_, 1084608);
}

}  // namespace
}  // namespace packetdb::test
