// Positions skip the numbers that have no record.
#include "host/record_file/numbering.h"

#include <gmock/gmock.h>

#include "tests/support/seed.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;

std::vector<std::uint64_t> Sequences(const Numbering& numbering, const Window& window) {
  std::vector<std::uint64_t> sequences;
  for (std::uint64_t i = 0; i < numbering.Count(window); ++i) {
    sequences.push_back(numbering.SequenceAt(window, i));
  }
  return sequences;
}

TEST(NumberingTest, WithoutHolesPositionsFollowTheWindow) {
  const Numbering numbering;
  EXPECT_THAT(Sequences(numbering, {5, 8}), ElementsAre(5, 6, 7));
  EXPECT_EQ(numbering.Holes({5, 8}), 0U);
}

TEST(NumberingTest, SkipsHolesWhereverTheyAre) {
  Numbering numbering;
  numbering.SetHoles({5, 7, 8, 11});
  EXPECT_THAT(Sequences(numbering, {5, 12}), ElementsAre(6, 9, 10));
  EXPECT_EQ(numbering.Holes({5, 12}), 4U);
}

TEST(NumberingTest, HolesOutsideTheWindowDoNotCount) {
  Numbering numbering;
  numbering.SetHoles({1, 2, 6, 20});
  EXPECT_THAT(Sequences(numbering, {5, 9}), ElementsAre(5, 7, 8));
  EXPECT_EQ(numbering.Holes({5, 9}), 1U);
}

TEST(NumberingTest, AWindowOfHolesHasNoRecord) {
  Numbering numbering;
  numbering.SetHoles({5, 6});
  EXPECT_EQ(numbering.Count({5, 7}), 0U);
}

TEST(NumberingTest, TakesUpAHoleWhereverItBelongs) {
  Numbering numbering;
  for (const std::uint64_t hole : {7U, 5U, 9U, 7U}) numbering.AddHole(hole);
  EXPECT_THAT(Sequences(numbering, {5, 10}), ElementsAre(6, 8));
  EXPECT_TRUE(numbering.IsHole(7));
  EXPECT_FALSE(numbering.IsHole(8));
}

TEST(NumberingTest, AHoleThatIsFilledCountsAgain) {
  Numbering numbering;
  numbering.SetHoles({5, 7});
  numbering.RemoveHole(5);
  numbering.RemoveHole(6);
  numbering.RemoveHole(9);
  EXPECT_THAT(Sequences(numbering, {5, 8}), ElementsAre(5, 6));
}

TEST(NumberingTest, AgreesWithCountingThroughForRandomHoles) {
  const std::uint32_t seed = test::Seed();
  SCOPED_TRACE(test::SeedText(seed));
  test::Random random(seed);
  for (int round = 0; round < 200; ++round) {
    Numbering numbering;
    const Window window = {random.Below(50), 50 + random.Below(50)};
    for (int i = 0; i < 30; ++i) numbering.AddHole(random.Below(110));
    std::vector<std::uint64_t> expected;
    for (std::uint64_t sequence = window.begin; sequence < window.end; ++sequence) {
      if (!numbering.IsHole(sequence)) expected.push_back(sequence);
    }
    ASSERT_EQ(Sequences(numbering, window), expected);
  }
}

}  // namespace
}  // namespace packetdb::host
