// Finding the newest record and the missing ones by looking at every frame.
#include "host/record_file/full_pass.h"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>

#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FullPassTest : public testing::TestWithParam<Way> {
 protected:
  // A file with a record at each of these sequence numbers.
  void Make(const std::vector<std::uint64_t>& sequences, unsigned long max_records = 3) {
    path_ = MakeJournal(disk_, 0, max_records);
    geometry_ = GeometryOfFile(path_);
    Bytes bytes = ReadBytes(path_);
    for (const std::uint64_t sequence : sequences) {
      PutFrame(geometry_, sequence, sequence, OffsetOf(geometry_, sequence), &bytes);
    }
    WriteBytes(path_, bytes);
  }

  RecordFileResult Pass(std::uint64_t hint = 0) {
    OpenBytes open(path_, GetParam(), Access::kRead);
    return PassOver(open.medium, geometry_, hint, &found_);
  }

  // What a search begins with when no word in the file tells where the numbers are.
  RecordFileResult Guess(std::uint64_t* sequence) {
    OpenBytes open(path_, GetParam(), Access::kRead);
    return GuessSequence(open.medium, geometry_, sequence);
  }

  // Changes a byte of the content of each of these slots.
  void Damage(std::uint64_t first_slot, std::uint64_t end_slot) {
    Bytes bytes = ReadBytes(path_);
    for (std::uint64_t slot = first_slot; slot < end_slot; ++slot) {
      bytes[OffsetOfSlot(geometry_, slot) + geometry_.frame_size / 2] ^= 1;
    }
    WriteBytes(path_, bytes);
  }

  void PutRedo(std::uint64_t sequence) {
    Bytes bytes = ReadBytes(path_);
    PutFrame(geometry_, sequence, sequence, kRedoOffset, &bytes);
    WriteBytes(path_, bytes);
  }

  Disk disk_;
  std::string path_;
  Geometry geometry_;
  PassResult found_;
};

INSTANTIATE_TEST_SUITE_P(BothWays, FullPassTest, testing::Values(Way::kMapped, Way::kByCalls));

TEST_P(FullPassTest, FindsNothingInAnEmptyFile) {
  Make({});
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_FALSE(found_.found_any);
}

TEST_P(FullPassTest, FindsTheNewest) {
  Make({0, 1, 2, 3});
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_TRUE(found_.found_any);
  EXPECT_EQ(found_.newest, 3U);
  EXPECT_THAT(found_.holes, IsEmpty());
}

TEST_P(FullPassTest, NamesWhatIsMissingAmongTheLive) {
  Make({0, 2, 4, 5, 6}, 5);
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_EQ(found_.newest, 6U);
  EXPECT_THAT(found_.holes, ElementsAre(3)) << "1 does not count any more";
}

TEST_P(FullPassTest, TellsLapsOfTheRingApart) {
  Make({0}, 3);
  const std::uint64_t lap = geometry_.slot_count;
  Make({lap - 1, lap, 1}, 3);  // slot 1 still has a record of the lap before
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_EQ(found_.newest, lap);
  EXPECT_THAT(found_.holes, ElementsAre(lap - 2));
}

TEST_P(FullPassTest, AStaleRecordIsNotTheOneThatShouldBeThere) {
  Make({0}, 3);
  const std::uint64_t lap = geometry_.slot_count;
  Make({lap, 1, lap + 2}, 3);
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_EQ(found_.newest, lap + 2);
  EXPECT_THAT(found_.holes, ElementsAre(lap + 1));
}

TEST_P(FullPassTest, AFrameInAnotherSlotIsNotThere) {
  Make({0, 1, 2});
  Bytes bytes = ReadBytes(path_);
  PutFrame(geometry_, 3, 3, OffsetOf(geometry_, 9), &bytes);
  WriteBytes(path_, bytes);
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_EQ(found_.newest, 2U);
}

TEST_P(FullPassTest, FramesFromBeforeTheFirstRecordAreNotThere) {
  Make({5, 6, 12});
  geometry_.first_sequence = 10;
  ASSERT_EQ(Pass(10), kRecordFileOk);
  EXPECT_EQ(found_.newest, 12U);
  EXPECT_THAT(found_.holes, ElementsAre(10, 11));
}

TEST_P(FullPassTest, FramesBeyondTheLargestNumberAreNotThere) {
  Make({kMaxSequence - 2, kMaxSequence - 1});
  geometry_.first_sequence = kMaxSequence - 2;
  ASSERT_EQ(Pass(kMaxSequence - 2), kRecordFileOk);
  EXPECT_EQ(found_.newest, kMaxSequence - 2);
}

TEST_P(FullPassTest, CompletesNumbersByTheHint) {
  const std::uint64_t far = (std::uint64_t{7} << 32U) + 5;
  Make({far, far + 1, far + 2});
  ASSERT_EQ(Pass(0), kRecordFileOk);
  EXPECT_FALSE(found_.found_any);
  ASSERT_EQ(Pass(far - 1000), kRecordFileOk);
  EXPECT_EQ(found_.newest, far + 2);
}

TEST_P(FullPassTest, CountsWhatOnlyTheRedoSectorHolds) {
  Make({0, 2});
  PutRedo(1);
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_THAT(found_.holes, IsEmpty());
}

TEST_P(FullPassTest, TheRedoSectorCanHoldTheNewest) {
  Make({0, 1});
  PutRedo(2);
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_EQ(found_.newest, 2U);
  EXPECT_THAT(found_.holes, IsEmpty());
}

TEST_P(FullPassTest, TheRedoSectorCanHoldTheOnlyOne) {
  Make({});
  PutRedo(0);
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_TRUE(found_.found_any);
  EXPECT_EQ(found_.newest, 0U);
}

TEST_P(FullPassTest, AnOldRedoDoesNotStandForTheRecordInItsSlot) {
  Make({0}, 3);
  const std::uint64_t lap = geometry_.slot_count;
  Make({lap - 1, lap + 1}, 3);
  PutRedo(0);
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_THAT(found_.holes, ElementsAre(lap)) << "slot 0 has no record of this lap";
}

TEST_P(FullPassTest, ARedoOfANumberThatCannotBeIsLeftOut) {
  Make({5, 6});
  geometry_.first_sequence = 5;
  PutRedo(1);
  ASSERT_EQ(Pass(5), kRecordFileOk);
  EXPECT_EQ(found_.newest, 6U);
}

TEST_P(FullPassTest, ARedoBehindTheEndOfAFileWithoutABoundIsLeftOut) {
  Make({0, 1}, kNoBound);
  PutRedo(geometry_.slot_count);
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_EQ(found_.newest, 1U);
}

TEST_P(FullPassTest, WithoutABoundEveryNumberCounts) {
  Make({0, 1, 5, 100}, kNoBound);
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_EQ(found_.newest, 100U);
  EXPECT_EQ(found_.holes.size(), 97U);
}

TEST_P(FullPassTest, ANumberIsGuessedFromTheFirstSoundFrame) {
  constexpr std::uint64_t kFar = (std::uint64_t{7} << 32U) + 5;
  Make({kFar, kFar + 1}, 200);
  std::uint64_t sequence = 0;
  Damage(SlotOf(geometry_, kFar), SlotOf(geometry_, kFar) + 1);
  ASSERT_EQ(Guess(&sequence), kRecordFileOk);
  EXPECT_EQ(sequence, kFar + 1);
}

TEST_P(FullPassTest, GuessingEndsWhereNothingButDamageIs) {
  constexpr std::uint64_t kFrames = 70;
  std::vector<std::uint64_t> sequences;
  for (std::uint64_t sequence = 0; sequence < kFrames; ++sequence) sequences.push_back(sequence);
  Make(sequences, 200);
  Damage(0, kFrames - 1);
  std::uint64_t sequence = 0;
  EXPECT_EQ(Guess(&sequence), kDamagedRecord) << "the sound one is too far behind";
}

TEST_P(FullPassTest, NoNumberBeforeTheFirstIsGuessed) {
  constexpr std::uint64_t kFar = (std::uint64_t{7} << 32U) + 5;
  Make({kFar});
  geometry_.first_sequence = kFar + 1;
  std::uint64_t sequence = 0;
  EXPECT_EQ(Guess(&sequence), kDamagedRecord);
}

TEST_P(FullPassTest, NoNumberBeyondTheLargestIsGuessed) {
  Make({kMaxSequence + 5});
  geometry_.first_sequence = kMaxSequence - 2;
  std::uint64_t sequence = 0;
  EXPECT_EQ(Guess(&sequence), kDamagedRecord);
}

TEST_P(FullPassTest, GuessingFailsWhenTheFileIsCut) {
  Make({1, 2});
  OpenBytes open(path_, GetParam(), Access::kRead);
  std::filesystem::resize_file(path_, kPageSize);
  std::uint64_t sequence = 0;
  const RecordFileResult result = GuessSequence(open.medium, geometry_, &sequence);
  // Mapped, what is gone reads as never written; who asked sees that the file is lost.
  EXPECT_EQ(result, GetParam() == Way::kMapped ? kDamagedRecord : kTruncatedFile);
}

// More than is read at once.
TEST_P(FullPassTest, PassesOverAFileOfSeveralMebibytes) {
  Make({0, 20'000, 39'999}, 40'000);
  ASSERT_EQ(Pass(), kRecordFileOk);
  EXPECT_EQ(found_.newest, 39'999U);
  EXPECT_EQ(found_.holes.size(), 39'997U);
}

TEST_P(FullPassTest, FailsWhenTheFileIsCut) {
  Make({0, 1, 2}, 40'000);
  std::filesystem::resize_file(path_, kCellsOffset + 2 * kPageSize);
  const Descriptor file(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
  Medium medium;
  ASSERT_EQ(medium.Open(file, 0, FileLength(geometry_), Access::kRead, GetParam()), kRecordFileOk);
  const bool is_mapped = GetParam() == Way::kMapped;
  EXPECT_EQ(PassOver(medium, geometry_, 0, &found_), is_mapped ? kFileLost : kTruncatedFile);
  EXPECT_FALSE(found_.found_any) << "nothing is said about such a file";
}

TEST(FullPassByCallsTest, FailsWhenTheRedoSectorCannotBeRead) {
  Disk disk;
  const std::string path = disk.NewPath();
  WriteBytes(path, Bytes(kRedoOffset, '\0'));
  Geometry geometry = GeometryOf(72, 0);
  geometry.slot_count = 0;
  OpenBytes open(path, Way::kByCalls, Access::kRead);
  PassResult found;
  EXPECT_EQ(PassOver(open.medium, geometry, 0, &found), kTruncatedFile);
}

TEST_P(FullPassTest, FindsTheHolesOfAWindow) {
  Make({0, 1, 3, 5}, 10);
  OpenBytes open(path_, GetParam(), Access::kRead);
  std::vector<std::uint64_t> holes;
  ASSERT_EQ(FindHoles(open.medium, geometry_, {1, 7}, &holes), kRecordFileOk);
  EXPECT_THAT(holes, ElementsAre(2, 4, 6));
}

TEST_P(FullPassTest, WhatWasOvertakenIsNoHole) {
  Make({0}, 3);
  OpenBytes open(path_, GetParam());
  open.medium.StoreWord(kNextOffset, geometry_.slot_count + 2);
  std::vector<std::uint64_t> holes;
  ASSERT_EQ(FindHoles(open.medium, geometry_, {0, 4}, &holes), kRecordFileOk);
  EXPECT_THAT(holes, ElementsAre(3)) << "0 is still there; 1 and 2 are gone; 3 should be there";
}

TEST_P(FullPassTest, HolesAreNotFoundInAFileThatIsCut) {
  Make({0, 1, 2});
  OpenBytes open(path_, GetParam());
  std::filesystem::resize_file(path_, kCellsOffset);
  std::vector<std::uint64_t> holes;
  EXPECT_LT(FindHoles(open.medium, geometry_, {0, 3}, &holes), 0);
  EXPECT_THAT(holes, IsEmpty());
}

}  // namespace
}  // namespace packetdb::host
