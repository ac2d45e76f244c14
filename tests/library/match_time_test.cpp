// Matching by time and by interface.
#include "packetdb/storage_iter.h"
#include "tests/library/match_fixture.h"
#include "tests/support/allocation.h"

namespace packetdb::test {
namespace {

constexpr std::int64_t kOffset = TIME_1980_OFFSET;

class MatchTime : public MatchTest {
 protected:
  // Whether a record seen from `first` to `last` meets the Unix range.
  bool Meets(std::uint32_t first, std::uint32_t last, std::int64_t start, std::int64_t end) {
    event_.First(first).Last(last);
    query_.m_TimeStart = start;
    query_.m_TimeEnd = end;
    return Matches();
  }
};

TEST_F(MatchTime, DefaultQueryMatchesNothing) {
  query_ = Query();
  for (const std::uint32_t second : {0u, 1u, 100u, 0x7fffffffu}) {
    event_.First(second).Last(second);
    EXPECT_FALSE(Matches()) << second;
  }
}

TEST_F(MatchTime, ZeroStartIsNoLowerBound) { EXPECT_TRUE(Meets(0, 0, 0, kOffset)); }

TEST_F(MatchTime, TouchingAtOneEndIsEnough) {
  EXPECT_TRUE(Meets(100, 200, kOffset + 200, kOffset + 300));
  EXPECT_TRUE(Meets(100, 200, kOffset + 50, kOffset + 100));
}

TEST_F(MatchTime, MissingByOneSecondIsNot) {
  EXPECT_FALSE(Meets(100, 200, kOffset + 201, kOffset + 300));
  EXPECT_FALSE(Meets(100, 200, kOffset + 50, kOffset + 99));
}

TEST_F(MatchTime, RecordMaySurroundTheRangeOrLieWithin) {
  EXPECT_TRUE(Meets(100, 200, kOffset + 150, kOffset + 160));
  EXPECT_TRUE(Meets(150, 160, kOffset + 100, kOffset + 200));
}

TEST_F(MatchTime, NegativeStartActsAsHuge) {
  EXPECT_FALSE(Meets(100, 0xffffffff, -1, std::int64_t{1} << 40));
}

TEST_F(MatchTime, NegativeEndIsNoUpperBound) {
  EXPECT_TRUE(Meets(100, 200, 0, -1));
  EXPECT_TRUE(Meets(3979434495u, 3979434495u, 0, -1));
}

TEST_F(MatchTime, RecordTimesWrap) {
  EXPECT_TRUE(Meets(3979434496u, 3979434497u, 0, 1));
  EXPECT_FALSE(Meets(3979434496u, 3979434497u, 2, std::int64_t{1} << 40));
}

TEST_F(MatchTime, BoundsBeyond32BitsAreCompared) {
  EXPECT_FALSE(Meets(100, 200, std::int64_t{1} << 32, std::int64_t{1} << 40));
  EXPECT_TRUE(Meets(100, 200, 0, std::int64_t{1} << 32));
}

TEST_F(MatchTime, AppliesNoMergeWindow) {
  Journal journal(10, 1000);
  event_.First(100).Last(100);
  journal.Add(event_);
  DbItemSelection selection;
  const Query query = QueryBetween(101, 300);
  journal.storage().CreateStorageIter(query)->SelectRecords(selection);
  EXPECT_TRUE(selection.empty());
}

TEST_F(MatchTime, DropIsTracedWithBothRanges) {
  query_.m_TimeStart = kOffset + 300;
  query_.m_TimeEnd = -5;
  event_.First(100).Last(200);
  EXPECT_EQ(Traces(), Strings{"time drop: remote = {i8:315533100} {i8:-5}, "
                              "local = {u4:315532900} {u4:315533000}"});
  ExpectLogged(5,
               "time drop: remote = {i8:315533100} {i8:-5}, "
               "local = {u4:315532900} {u4:315533000}",
               [this] { Matches(); });
}

TEST_F(MatchTime, DropTraceShowsWrappedTimes) {
  query_.m_TimeStart = 3;
  event_.First(3979434496u).Last(3979434498u);
  EXPECT_EQ(Traces(),
            Strings{"time drop: remote = {i8:3} {i8:1099511627776}, local = {u4:0} {u4:2}"});
}

TEST_F(MatchTime, TimeIsTestedBeforeTheInterface) {
  query_.m_AdapterNameHash = 1;
  query_.m_TimeEnd = 0;
  EXPECT_EQ(Traces().size(), 1u);
}

TEST_F(MatchTest, AllocatesNothing) {
  query_.m_Errcodes.assign({-2, 99});
  query_.m_Direction = 1;
  query_.m_IpSrcFrom = 0x0a000002;
  const PacketDbItem item = Record(event_, hash_);
  const auto before = AllocationsMade();
  EXPECT_TRUE(query_.match(item));
  EXPECT_EQ(AllocationsMade(), before);
}

TEST_F(MatchTest, ZeroHashSelectsEveryInterface) {
  for (const std::uint64_t hash : {0ull, 1ull, ~0ull}) {
    hash_ = hash;
    EXPECT_TRUE(Matches());
  }
}

TEST_F(MatchTest, HashSelectsItsInterfaceOnly) {
  query_.m_AdapterNameHash = 0xffffffff00000001;
  hash_ = 0xffffffff00000001;
  EXPECT_TRUE(Matches());
  for (const std::uint64_t hash : {0ull, 1ull, 0xffffffff00000000ull}) {
    hash_ = hash;
    EXPECT_FALSE(Matches());
  }
}

TEST_F(MatchTest, InterfaceNameIsNotTested) {
  SetInterface(query_, "another");
  EXPECT_TRUE(Matches());
}

TEST_F(MatchTest, InterfaceDropIsTraced) {
  query_.m_AdapterNameHash = 0xffffffffffffffff;
  hash_ = 17;
  const std::string trace = "adapter name hash drop query: {u8:18446744073709551615}, item:{u8:17}";
  EXPECT_EQ(Traces(), Strings{trace});
  ExpectLogged(5, trace, [this] { Matches(); });
}

}  // namespace
}  // namespace packetdb::test
