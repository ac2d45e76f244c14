#include "host/expression/interval_set.h"

#include <gmock/gmock.h>

namespace packetdb::host::expression::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kHighest = 0xFFFFFFFF;

TEST(IntervalSet, MergesWhatTouchesOrOverlaps) {
  const IntervalSet set({{7, 9}, {1, 2}, {3, 4}, {8, 20}, {30, 30}});
  EXPECT_THAT(set.intervals(), ElementsAre(Interval{1, 4}, Interval{7, 20}, Interval{30, 30}));
  EXPECT_EQ(set.Size(), 19u);
}

TEST(IntervalSet, ContainsItsEnds) {
  const IntervalSet set({{5, 6}, {kHighest, kHighest}});
  EXPECT_TRUE(set.Contains(5) && set.Contains(6) && set.Contains(kHighest));
  EXPECT_FALSE(set.Contains(4) || set.Contains(7) || set.Contains(kHighest - 1));
}

TEST(IntervalSet, HighestNumberHasNothingBehindIt) {
  EXPECT_THAT(IntervalSet({{0, kHighest}, {kHighest, kHighest}}).intervals(),
              ElementsAre(Interval{0, kHighest}));
  EXPECT_THAT(IntervalSet::Everything(kHighest).Without(kHighest).intervals(), IsEmpty());
  EXPECT_EQ(IntervalSet::Everything(kHighest).Size(), std::uint64_t{1} << 32U);
}

TEST(IntervalSet, WithoutIsWhatIsLeft) {
  EXPECT_THAT(IntervalSet({{0, 1}, {5, 5}}).Without(9).intervals(),
              ElementsAre(Interval{2, 4}, Interval{6, 9}));
  EXPECT_EQ(IntervalSet().Without(9), IntervalSet::Everything(9));
}

TEST(IntervalSet, AndOrAndIncludesAreThoseOfSets) {
  const IntervalSet a({{1, 5}, {10, 20}});
  const IntervalSet b({{4, 11}, {30, 40}});
  EXPECT_THAT(a.And(b).intervals(), ElementsAre(Interval{4, 5}, Interval{10, 11}));
  EXPECT_THAT(a.Or(b).intervals(), ElementsAre(Interval{1, 20}, Interval{30, 40}));
  EXPECT_TRUE(a.Includes(a.And(b)) && a.Or(b).Includes(b));
  EXPECT_FALSE(a.Includes(b));
}

}  // namespace
}  // namespace packetdb::host::expression::test
