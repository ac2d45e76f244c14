// Large random journals, walked as the small ones are: more batches than one, deeper searches, many
// records of the same second.
#include "tests/library/small_worlds.h"
#include "tests/support/seed.h"

namespace packetdb::test {
namespace {

class FileIterModel : public SmallWorlds {
 protected:
  std::uint32_t Address() { return random_.Below(4); }
  std::uint16_t Port() { return static_cast<std::uint16_t>(random_.Below(4)); }

  Records RandomJournal() {
    Records records;
    std::uint32_t first = 1000;
    for (auto left = random_.Below(700); left > 0; --left) {
      first += random_.Below(3);
      const auto length = random_.OneIn(4) ? random_.Below(20) : 0;
      records.push_back(EventAt(first).Last(first + length).Src(Address(), Port()));
      records.back().Dst(Address(), Port());
    }
    return records;
  }
  Query RandomQuery() {
    const std::int64_t start = 950 + random_.Below(900);
    Query query = QueryBetween(start, start + random_.Below(600));
    query.m_RecCount = random_.OneIn(3) ? random_.Below(300) : 0;
    query.m_Direction = static_cast<std::uint8_t>(random_.Below(3));
    for (const auto field : {&Query::m_IpSrcFrom, &Query::m_IpSrcTo, &Query::m_IpDstTo}) {
      if (random_.OneIn(3)) query.*field = Address();
    }
    for (const auto field : {&Query::m_PortSrcTo, &Query::m_PortDstFrom, &Query::m_PortDstTo}) {
      if (random_.OneIn(3)) query.*field = Port();
    }
    return query;
  }

  const std::uint32_t seed_ = Seed();
  Random random_{seed_};
};

TEST_F(FileIterModel, LargeRandomJournalsAreWalkedAsTheModelDoes) {
  SCOPED_TRACE(SeedText(seed_));
  for (int round = 0; round < 100 && !HasFatalFailure(); ++round) {
    Fill(RandomJournal(), random_.Below(25));
    std::vector<Query> queries(50);
    for (Query& query : queries) query = RandomQuery();
    ExpectModel(queries);
  }
  EXPECT_EQ(cases_, 100 * 50);
}

}  // namespace
}  // namespace packetdb::test
