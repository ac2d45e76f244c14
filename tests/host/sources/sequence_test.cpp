// The numbers of a log group's records: what counts as a loss, and what does not.
#include "host/sources/sequence.h"

#include <gtest/gtest.h>

namespace packetdb::host::test {
namespace {

constexpr std::uint64_t kFromZero = std::uint64_t{1} << 32;

TEST(Sequence, FirstNumberIsNoLossWhateverItIs) {
  SequenceTracker sequence;
  EXPECT_EQ(sequence.next(), 0U);
  EXPECT_EQ(sequence.Follow(1000), 0U);
  EXPECT_EQ(sequence.next(), 1001U);
}

TEST(Sequence, GapsAreCountedToTheRecord) {
  SequenceTracker sequence;
  sequence.Follow(7);
  EXPECT_EQ(sequence.Follow(8), 0U);
  EXPECT_EQ(sequence.Follow(10), 1U);
  EXPECT_EQ(sequence.Follow(1'000'011), 1'000'000U);
}

TEST(Sequence, NumbersBeginAgainBehindTheLastOne) {
  SequenceTracker sequence;
  sequence.Follow(0xFFFFFFFE);
  EXPECT_EQ(sequence.Follow(0xFFFFFFFF), 0U);
  EXPECT_EQ(sequence.next(), kFromZero);
  EXPECT_EQ(sequence.Follow(0), 0U);
  EXPECT_EQ(sequence.next(), 1U);
}

TEST(Sequence, AGapMayReachOverTheLastNumber) {
  SequenceTracker sequence;
  sequence.Follow(0xFFFFFFFE);
  EXPECT_EQ(sequence.Follow(2), 3U);
}

TEST(Sequence, ANewNumberingIsNoLoss) {
  for (const std::uint32_t last : {1U, 1000U, 0x7FFFFFFFU, 0x80000001U, 3'000'000'000U}) {
    SequenceTracker sequence;
    sequence.Follow(last);
    EXPECT_EQ(sequence.Follow(0), 0U) << last;
    EXPECT_EQ(sequence.Follow(1), 0U) << last;
  }
}

TEST(Sequence, AStepBackIsNoLoss) {
  SequenceTracker sequence;
  sequence.Follow(1000);
  EXPECT_EQ(sequence.Follow(1000), 0U);
  EXPECT_EQ(sequence.Follow(500), 0U);
  EXPECT_EQ(sequence.Follow(502), 1U);
}

TEST(Sequence, ExpectedNumberMakesAGapBeforeTheFirstOneCount) {
  SequenceTracker sequence;
  sequence.Expect(101);
  EXPECT_EQ(sequence.Follow(103), 2U);
  sequence.Expect(kFromZero);
  EXPECT_EQ(sequence.Follow(5), 5U);
}

TEST(Sequence, ExpectingNothingChangesNothing) {
  SequenceTracker sequence;
  sequence.Expect(0);
  EXPECT_EQ(sequence.Follow(9), 0U);
  sequence.Expect(0);
  EXPECT_EQ(sequence.Follow(11), 1U);
}

}  // namespace
}  // namespace packetdb::host::test
