// The superblock: what is made is intact, and everything else is told apart.
#include "host/record_file/superblock.h"

#include <cstring>
#include <functional>
#include <gmock/gmock.h>

#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

Superblock Make(std::uint64_t capacity = 3, std::uint64_t record_size = 72) {
  return MakeSuperblock({.magic = kTestMagic, .record_size = record_size, .capacity = capacity}, 0);
}

RecordFileResult VerifySound(Superblock block) {
  block.checksum = ChecksumOf(block);
  return VerifySuperblock(block, kPageSize);
}

TEST(SuperblockTest, WhatIsMadeIsIntact) {
  for (const std::uint64_t size : {1U, 60U, 64U, 72U, 504U}) {
    EXPECT_EQ(VerifySuperblock(Make(3, size), kPageSize), kRecordFileOk) << size;
    EXPECT_EQ(VerifySuperblock(Make(0, size), kPageSize), kRecordFileOk) << size;
    EXPECT_EQ(VerifySuperblock(Make(kMaxRecords, size), kPageSize), kRecordFileOk) << size;
  }
}

TEST(SuperblockTest, TellsTheFormatThatItWasMadeOf) {
  const RecordFormat format = FormatOf(Make());
  EXPECT_EQ(format.magic, kTestMagic);
  EXPECT_EQ(format.record_size, 72U);
  EXPECT_EQ(format.capacity, 3U);
}

TEST(SuperblockTest, EveryFileHasAnIdOfItsOwn) {
  EXPECT_NE(Make().file_id, Make().file_id);
  Geometry geometry;
  const Superblock block = Make();
  ASSERT_EQ(FitToLength(block, block.file_length, &geometry), kRecordFileOk);
  EXPECT_EQ(std::memcmp(&geometry.seed, block.file_id.data(), sizeof geometry.seed), 0);
}

TEST(SuperblockTest, KeepsAMagicThatFillsItsRoom) {
  const std::string longest(kMagicSize - 1, 'm');
  const Superblock block =
      MakeSuperblock({.magic = longest + "too much", .record_size = 8, .capacity = 1}, 0);
  EXPECT_EQ(MagicOf(block), longest);
  EXPECT_EQ(VerifySuperblock(block, kPageSize), kRecordFileOk);
}

TEST(SuperblockTest, WithoutABoundNoLengthIsPromised) {
  const Superblock block = Make(0);
  EXPECT_EQ(block.file_length, 0U);
  EXPECT_EQ(block.slot_count, 0U);
  EXPECT_EQ(InitialLength(block), kCellsOffset + (1U << 20U));
  EXPECT_EQ(InitialLength(Make(3)), Make(3).file_length);
}

TEST(SuperblockTest, NamesWhatIsThereInsteadByHowMuchOfItIs) {
  const Superblock block = Make();
  EXPECT_EQ(VerifySuperblock(block, 0), kEmptyFile);
  EXPECT_EQ(VerifySuperblock(block, 7), kNotARecordFile);
  EXPECT_EQ(VerifySuperblock(block, 8), kTruncatedFile);
  EXPECT_EQ(VerifySuperblock(block, kPageSize - 1), kTruncatedFile);
  EXPECT_EQ(VerifySuperblock(Superblock{}, kPageSize), kNotARecordFile);
}

TEST(SuperblockTest, EveryChangedByteIsNoticed) {
  const Superblock block = Make();
  for (std::size_t i = 0; i < sizeof block; ++i) {
    Superblock changed = block;
    reinterpret_cast<unsigned char*>(&changed)[i] ^= static_cast<unsigned char>(1U << (i % 8));
    EXPECT_EQ(VerifySuperblock(changed, kPageSize),
              i < kSignature.size() ? kNotARecordFile : kDamagedHeader)
        << "byte " << i;
  }
}

TEST(SuperblockTest, TellsAnotherByteOrderFromDamage) {
  Superblock block = Make();
  block.byte_order_mark = kSwappedByteOrderMark;
  EXPECT_EQ(VerifySuperblock(block, kPageSize), kOtherByteOrder)
      << "whose checksum is stored the other way round as well";
}

TEST(SuperblockTest, RefusesALayoutThatItDoesNotKnow) {
  for (const std::uint32_t version : {0U, 1U, kLayoutVersion + 1, 0xFFFFFFFFU}) {
    Superblock block = Make();
    block.layout_version = version;
    EXPECT_EQ(VerifySound(block), kUnsupportedLayout) << version;
  }
  Superblock block = Make();
  block.flags = 0x80000000;
  EXPECT_EQ(VerifySound(block), kUnsupportedLayout);
}

TEST(SuperblockTest, RefusesNumbersThatContradictEachOther) {
  using Change = std::function<void(Superblock&)>;
  const std::vector<Change> changes = {
      [](Superblock& b) { b.byte_order_mark = 0; },
      [](Superblock& b) { b.header_length = 8192; },
      [](Superblock& b) { b.cell_size = 4096; },
      [](Superblock& b) { b.record_size = 0; },
      [](Superblock& b) { b.record_size = 73; },
      [](Superblock& b) { b.record_size = 505; },
      [](Superblock& b) { b.record_size = 0xFFFFFFFF; },
      [](Superblock& b) { b.record_size = 0, b.frame_size = 8, b.frames_per_cell = 64; },
      [](Superblock& b) { b.frame_size = 0; },
      [](Superblock& b) { b.frame_size = 88; },
      [](Superblock& b) { b.frames_per_cell = 0; },
      [](Superblock& b) { b.frames_per_cell = 5; },
      [](Superblock& b) { b.capacity = 0; },
      [](Superblock& b) { b.capacity = 100'000; },
      [](Superblock& b) { b.capacity = kMaxRecords + 1; },
      [](Superblock& b) { b.capacity = ~std::uint64_t{0}; },
      [](Superblock& b) { b.slot_count = 0; },
      [](Superblock& b) { b.slot_count += 1; },
      [](Superblock& b) { b.file_length = 0; },
      [](Superblock& b) { b.file_length += 512; },
      [](Superblock& b) { b.first_sequence = kMaxSequence; },
      [](Superblock& b) { b.magic.fill('x'); },
      [](Superblock& b) { b.magic.back() = 'x'; },
  };
  for (std::size_t i = 0; i < changes.size(); ++i) {
    Superblock block = Make();
    changes[i](block);
    EXPECT_EQ(VerifySound(block), kAbsurdHeader) << "change " << i;
  }
}

TEST(SuperblockTest, FitsOnlyAFileOfItsOwnLength) {
  const Superblock block = Make();
  Geometry geometry;
  EXPECT_EQ(FitToLength(block, block.file_length - 1, &geometry), kTruncatedFile);
  EXPECT_EQ(FitToLength(block, block.file_length + 1, &geometry), kOverlongFile);
  EXPECT_EQ(geometry.slot_count, 0U) << "untouched";
  ASSERT_EQ(FitToLength(block, block.file_length, &geometry), kRecordFileOk);
  EXPECT_EQ(geometry.slot_count, block.slot_count);
  EXPECT_EQ(geometry.frame_size, 80U);
}

TEST(SuperblockTest, WithoutABoundThereAreAsManySlotsAsFit) {
  const Superblock block = Make(0);
  Geometry geometry;
  EXPECT_EQ(FitToLength(block, kCellsOffset - 1, &geometry), kTruncatedFile);
  ASSERT_EQ(FitToLength(block, kCellsOffset, &geometry), kRecordFileOk);
  EXPECT_EQ(geometry.slot_count, 0U);
  ASSERT_EQ(FitToLength(block, kCellsOffset + 1023, &geometry), kRecordFileOk);
  EXPECT_EQ(geometry.slot_count, 6U) << "a cell that is there in part does not count";
  ASSERT_EQ(FitToLength(block, std::uint64_t{1} << 50U, &geometry), kRecordFileOk);
  EXPECT_EQ(geometry.slot_count, kMaxRecords) << "no more than can be numbered";
}

}  // namespace
}  // namespace packetdb::host
