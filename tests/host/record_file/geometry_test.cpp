// Where frames are, how long files are, and which records count.
#include "host/record_file/geometry.h"

#include <gmock/gmock.h>

#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

TEST(GeometryTest, FramesAreRoundedUpAndFillTheirCells) {
  EXPECT_EQ(FrameSize(1), 16U);
  EXPECT_EQ(FrameSize(8), 16U);
  EXPECT_EQ(FrameSize(60), 72U);
  EXPECT_EQ(FrameSize(64), 72U);
  EXPECT_EQ(FrameSize(72), 80U);
  EXPECT_EQ(FrameSize(504), 512U);
  EXPECT_EQ(FramesPerCell(FrameSize(72)), 6U);
  EXPECT_EQ(FramesPerCell(FrameSize(64)), 7U);
  EXPECT_EQ(FramesPerCell(FrameSize(504)), 1U);
}

TEST(GeometryTest, ThereAreSparerSlotsThanRecordsInWholePages) {
  EXPECT_EQ(SlotCount(1, 6), 4128U) << "4,097 and up to a whole page of 48";
  EXPECT_EQ(SlotCount(65536, 6), 69648U) << "the least slack, 4,096, is a sixteenth here";
  EXPECT_EQ(SlotCount(1'000'000, 6), 1'062'528U);
  for (std::uint64_t capacity = 1; capacity < 200'000; capacity = capacity * 3 + 1) {
    EXPECT_GE(SlotCount(capacity, 7), capacity + kMinSlack);
    EXPECT_GE(SlotCount(capacity, 7), capacity + capacity / kSlackDivisor);
    EXPECT_EQ(SlotCount(capacity, 7) % 56, 0U);
  }
}

TEST(GeometryTest, TheLengthTakesInTheLastCell) {
  EXPECT_EQ(FileLength(0, 6), kCellsOffset);
  EXPECT_EQ(FileLength(1, 6), kCellsOffset + 512);
  EXPECT_EQ(FileLength(6, 6), kCellsOffset + 512);
  EXPECT_EQ(FileLength(7, 6), kCellsOffset + 1024);
  EXPECT_EQ(FileLength(SlotCount(1, 6), 6), 364'544U) << "the smallest file of 72-byte records";
}

TEST(GeometryTest, NoFrameStraddlesASector) {
  for (std::uint64_t size = 1; size <= kMaxRecordSize; ++size) {
    const Geometry geometry = GeometryOf(size, 10);
    for (std::uint64_t slot = 0; slot < 100; ++slot) {
      const std::uint64_t begin = OffsetOfSlot(geometry, slot);
      const std::uint64_t last = begin + geometry.frame_size - 1;
      ASSERT_EQ(begin / kSectorSize, last / kSectorSize) << size << " " << slot;
    }
  }
}

TEST(GeometryTest, ARingUsesItsSlotsAgain) {
  const Geometry geometry = GeometryOf(72, 3);
  EXPECT_EQ(SlotOf(geometry, 0), 0U);
  EXPECT_EQ(SlotOf(geometry, geometry.slot_count - 1), geometry.slot_count - 1);
  EXPECT_EQ(SlotOf(geometry, geometry.slot_count), 0U);
  EXPECT_EQ(OffsetOf(geometry, geometry.slot_count + 7), kCellsOffset + 512 + 80);
}

TEST(GeometryTest, AFileWithoutABoundBeginsWithItsFirstRecord) {
  Geometry geometry = GeometryOf(72, 0);
  geometry.first_sequence = 1000;
  EXPECT_EQ(SlotOf(geometry, 1000), 0U);
  EXPECT_EQ(SlotOf(geometry, 1007), 7U);
}

TEST(GeometryTest, TheNewestRecordsCount) {
  Geometry geometry = GeometryOf(72, 3);
  geometry.first_sequence = 10;
  EXPECT_EQ(LiveWindow(geometry, 10).size(), 0U);
  EXPECT_EQ(LiveWindow(geometry, 12).begin, 10U);
  EXPECT_EQ(LiveWindow(geometry, 13).begin, 10U);
  EXPECT_EQ(LiveWindow(geometry, 14).begin, 11U);
  EXPECT_EQ(LiveWindow(geometry, 14).end, 14U);
}

TEST(GeometryTest, WithoutABoundAllCount) {
  Geometry geometry = GeometryOf(72, 0);
  geometry.first_sequence = 10;
  EXPECT_EQ(LiveWindow(geometry, 12).begin, 10U);
  EXPECT_EQ(LiveWindow(geometry, 5000).size(), 4990U);
}

TEST(GeometryTest, AWindowContainsItsBeginningAndNotItsEnd) {
  const Window window = {5, 7};
  EXPECT_FALSE(window.Contains(4));
  EXPECT_TRUE(window.Contains(5));
  EXPECT_TRUE(window.Contains(6));
  EXPECT_FALSE(window.Contains(7));
}

TEST(GeometryTest, ACommitWordIsPlausibleFromTheFirstRecordToTheLargestNumber) {
  Geometry geometry = GeometryOf(72, 3);
  geometry.first_sequence = 10;
  EXPECT_FALSE(IsPlausibleNext(geometry, 9));
  EXPECT_TRUE(IsPlausibleNext(geometry, 10));
  EXPECT_TRUE(IsPlausibleNext(geometry, kMaxSequence - 1));
  EXPECT_FALSE(IsPlausibleNext(geometry, kMaxSequence));
}

TEST(GeometryTest, WithoutABoundACommitWordIsWithinTheFile) {
  Geometry geometry = GeometryOf(72, 0);
  geometry.first_sequence = 10;
  EXPECT_TRUE(IsPlausibleNext(geometry, 10 + geometry.slot_count));
  EXPECT_FALSE(IsPlausibleNext(geometry, 11 + geometry.slot_count));
}

TEST(GeometryTest, AFileGrowsByAMebibyteOfSlots) {
  EXPECT_EQ(GrowthSlots(6), 2048U * 6);
  EXPECT_EQ(FileLength(2 * GrowthSlots(6), 6) - FileLength(GrowthSlots(6), 6), 1U << 20U);
}

}  // namespace
}  // namespace packetdb::host
