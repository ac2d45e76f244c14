// What a file turns out to hold when nobody said so.
#include "host/record_file/recovery.h"

#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>

#include "host/record_file/frame.h"
#include "host/record_file/inode_mark.h"
#include "host/record_file/state.h"
#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RecoveryTest : public testing::Test {
 protected:
  // A file for `capacity` records with those of the numbers 0 ... `count` - 1, as if its writer had
  // died in this boot.
  void Make(std::uint64_t count, unsigned long capacity = 10) {
    path_ = MakeJournal(disk_, count, capacity);
    geometry_ = GeometryOfFile(path_);
    bytes_ = ReadBytes(path_);
    state_ = StateOf(bytes_);
    MarkOpened(kOpen, &state_);
  }

  // A closed file whose records have the numbers `first` and on.
  void MakeFrom(std::uint64_t first, std::uint64_t count) {
    path_ = MakeJournal(disk_, 0, 10);
    StartAt(path_, first);
    CDbFile file;
    ASSERT_EQ(Open(file, path_, kModeWrite, 10), kRecordFileOk);
    for (std::uint64_t value = 0; value < count; ++value) ASSERT_GE(Append(file, value), 0);
    file.Done();
    geometry_ = GeometryOfFile(path_);
    bytes_ = ReadBytes(path_);
    state_ = StateOf(bytes_);
  }

  void Put(std::uint64_t sequence, std::uint64_t value) {
    PutFrame(geometry_, sequence, value, OffsetOf(geometry_, sequence), &bytes_);
  }
  void PutRedo(std::uint64_t sequence, std::uint64_t value) {
    PutFrame(geometry_, sequence, value, kRedoOffset, &bytes_);
  }
  void Tear(std::uint64_t sequence) { bytes_[OffsetOf(geometry_, sequence) + 40] ^= 1; }
  void MoveToOtherBoot() { state_.boot_id[3] ^= 1U; }

  Recovered Recover(OtherWriter writer = OtherWriter::kNone, Look look = Look::kQuick) {
    PutState(state_, &bytes_);
    // The redo sector is part of the page as it was read.
    WriteBytes(path_, bytes_);
    const Bytes before = bytes_;
    OpenBytes open(path_, Way::kMapped);
    if (is_in_memory_) MarkInode(open.file.get(), InodeMark::kOpen);
    Recovered recovered;
    EXPECT_EQ(host::Recover(open.medium, geometry_, state_, writer, look, &recovered),
              kRecordFileOk);
    EXPECT_EQ(ReadBytes(path_), before) << "nothing is changed";
    return recovered;
  }

  Disk disk_;
  std::string path_;
  Geometry geometry_;
  Bytes bytes_;
  StatePage state_ = {};
  bool is_in_memory_ = true;  // since its writer died
};

TEST_F(RecoveryTest, BelievesAPageThatWasClosed) {
  Make(5);
  state_.state = kClosed;
  state_.checksum = ChecksumOf(state_);
  Tear(2);
  const Recovered recovered = Recover();
  EXPECT_TRUE(recovered.is_as_stated);
  EXPECT_FALSE(recovered.searched);
  EXPECT_EQ(recovered.next, 5U);
  EXPECT_THAT(recovered.holes, IsEmpty()) << "nobody looked";
}

TEST_F(RecoveryTest, LooksAtEveryRecordWhenAsked) {
  Make(5);
  state_.state = kClosed;
  state_.checksum = ChecksumOf(state_);
  Tear(2);
  const Recovered recovered = Recover(OtherWriter::kNone, Look::kThorough);
  EXPECT_FALSE(recovered.is_as_stated);
  EXPECT_THAT(recovered.holes, ElementsAre(2));
  EXPECT_EQ(recovered.damaged, 1U);
}

TEST_F(RecoveryTest, LooksAtEveryRecordOfAFileThatIsKnownToHaveHoles) {
  Make(5);
  Tear(2);
  state_.known_holes = 1;
  state_.state = kClosed;
  state_.checksum = ChecksumOf(state_);
  const Recovered recovered = Recover();
  EXPECT_TRUE(recovered.is_as_stated) << "the page said how many";
  EXPECT_THAT(recovered.holes, ElementsAre(2));
  EXPECT_EQ(recovered.damaged, 0U) << "counted before";
}

TEST_F(RecoveryTest, BelievesALivingWriterOfThisBoot) {
  Make(5);
  Put(5, 6);
  const Recovered recovered = Recover(OtherWriter::kAtWork);
  EXPECT_EQ(recovered.next, 5U) << "it has not committed the sixth";
  EXPECT_TRUE(recovered.is_as_stated);
}

TEST_F(RecoveryTest, DoesNotBelieveAWriterThatIsStillRecovering) {
  Make(5);
  Put(5, 6);
  MoveToOtherBoot();
  const Recovered recovered = Recover(OtherWriter::kAtWork);
  EXPECT_TRUE(recovered.searched);
  EXPECT_EQ(recovered.next, 6U);
}

TEST_F(RecoveryTest, TakesInTheRecordThatADeadWriterHadNotCommitted) {
  Make(5);
  Put(5, 6);
  const Recovered recovered = Recover();
  EXPECT_FALSE(recovered.searched);
  EXPECT_FALSE(recovered.is_as_stated);
  EXPECT_EQ(recovered.next, 6U);
  EXPECT_THAT(recovered.holes, IsEmpty());
}

TEST_F(RecoveryTest, LeavesAHalfWrittenAppendOut) {
  Make(5);
  Put(5, 6);
  Tear(5);
  const Recovered recovered = Recover();
  EXPECT_FALSE(recovered.searched);
  EXPECT_EQ(recovered.next, 5U);
}

TEST_F(RecoveryTest, NamesTheOverwriteThatIsToBeCompleted) {
  Make(5);
  PutRedo(3, 30);
  std::memcpy(state_.redo.data(), bytes_.data() + kRedoOffset, state_.redo.size());
  Tear(3);
  const Recovered recovered = Recover();
  EXPECT_FALSE(recovered.searched);
  EXPECT_TRUE(recovered.has_redo);
  EXPECT_EQ(recovered.redo_sequence, 3U);
}

TEST_F(RecoveryTest, AnOverwriteThatIsDoneIsNotToBeCompleted) {
  Make(5);
  PutRedo(3, 30);
  Put(3, 30);
  std::memcpy(state_.redo.data(), bytes_.data() + kRedoOffset, state_.redo.size());
  const Recovered recovered = Recover();
  EXPECT_FALSE(recovered.has_redo);
  EXPECT_FALSE(recovered.is_redo_torn);
}

TEST_F(RecoveryTest, AnOverwriteOfARecordThatIsGoneIsNotToBeCompleted) {
  Make(8, 3);
  PutRedo(1, 30);
  std::memcpy(state_.redo.data(), bytes_.data() + kRedoOffset, state_.redo.size());
  EXPECT_FALSE(Recover().has_redo);
}

TEST_F(RecoveryTest, TellsATornRedoFromNone) {
  Make(5);
  EXPECT_FALSE(Recover().is_redo_torn) << "nothing was ever overwritten";
  state_.redo[7] = 'x';
  EXPECT_TRUE(Recover().is_redo_torn);
}

// A file system that was shut down and mounted again within one boot.
TEST_F(RecoveryTest, SearchesWhatTheKernelHasForgottenSince) {
  Make(5);
  is_in_memory_ = false;
  state_.synced = 4;
  Tear(1);
  const Recovered recovered = Recover();
  EXPECT_TRUE(recovered.searched);
  EXPECT_THAT(recovered.holes, ElementsAre(1));
}

TEST_F(RecoveryTest, SearchesWhenTheNewestAreNotAllThere) {
  Make(5);
  state_.synced = 2;
  Tear(3);
  const Recovered recovered = Recover();
  EXPECT_TRUE(recovered.searched);
  EXPECT_THAT(recovered.holes, ElementsAre(3));
  EXPECT_EQ(recovered.lost_unsynced, 1U);
  EXPECT_EQ(recovered.damaged, 0U);
}

TEST_F(RecoveryTest, LooksAtTheNewestRecordEvenWhenAllWereFlushed) {
  Make(5);
  state_.synced = 5;
  Tear(4);
  const Recovered recovered = Recover();
  EXPECT_TRUE(recovered.searched);
  EXPECT_EQ(recovered.next, 4U);
}

TEST_F(RecoveryTest, DoesNotLookAtWhatWasFlushedWhenOnlyTheProcessDied) {
  Make(5);
  state_.synced = 4;
  Tear(1);
  const Recovered recovered = Recover();
  EXPECT_FALSE(recovered.searched);
  EXPECT_THAT(recovered.holes, IsEmpty());
}

TEST_F(RecoveryTest, LooksAtNoMoreThanTheNewest4096) {
  Make(5000, 6000);
  state_.synced = 0;
  Tear(903);
  EXPECT_FALSE(Recover().searched);
  Tear(904);
  EXPECT_TRUE(Recover().searched);
}

TEST_F(RecoveryTest, AnEmptyFileOfADeadWriterIsEmpty) {
  Make(0);
  const Recovered recovered = Recover();
  EXPECT_FALSE(recovered.searched);
  EXPECT_EQ(recovered.next, 0U);
}

TEST_F(RecoveryTest, SearchesAfterAnotherBoot) {
  Make(5);
  state_.synced = 3;
  state_.next = 3;  // the commit word did not reach the disk, the records did
  Tear(1);
  MoveToOtherBoot();
  const Recovered recovered = Recover();
  EXPECT_TRUE(recovered.searched);
  EXPECT_EQ(recovered.next, 5U);
  EXPECT_THAT(recovered.holes, ElementsAre(1));
  EXPECT_EQ(recovered.damaged, 1U) << "it had been flushed";
  EXPECT_EQ(recovered.lost_unsynced, 0U);
}

TEST_F(RecoveryTest, CountsWhatTheCommitWordPromisedAndTheDiskDoesNotHave) {
  Make(5);
  state_.next = 8;
  state_.synced = 5;
  MoveToOtherBoot();
  const Recovered recovered = Recover();
  EXPECT_EQ(recovered.next, 5U);
  EXPECT_EQ(recovered.lost_unsynced, 3U);
}

TEST_F(RecoveryTest, APageThatFailedIsSearched) {
  Make(5);
  state_.state = kFailed;
  EXPECT_TRUE(Recover().searched);
}

TEST_F(RecoveryTest, APageOfAnOpenFileWithHolesIsSearched) {
  Make(5);
  Tear(2);
  state_.known_holes = 1;
  state_.synced = 5;
  const Recovered recovered = Recover();
  EXPECT_TRUE(recovered.searched);
  EXPECT_THAT(recovered.holes, ElementsAre(2));
  EXPECT_EQ(recovered.damaged, 0U);
}

TEST_F(RecoveryTest, ANonsensicalCommitWordIsNotBelieved) {
  for (const OtherWriter writer : {OtherWriter::kNone, OtherWriter::kAtWork}) {
    Make(5);
    state_.next = ~std::uint64_t{0};
    const Recovered recovered = Recover(writer);
    EXPECT_TRUE(recovered.searched);
    EXPECT_EQ(recovered.next, 5U);
    EXPECT_EQ(recovered.lost_unsynced, 0U) << "such a word promises nothing";
  }
}

TEST_F(RecoveryTest, AClosedPageWithANonsensicalCommitWordIsSearched) {
  Make(5);
  state_.next = ~std::uint64_t{0};
  state_.state = kClosed;
  state_.checksum = ChecksumOf(state_);
  EXPECT_EQ(Recover().next, 5U);
}

TEST_F(RecoveryTest, FindsTheNewestFarFromTheCommitWord) {
  constexpr std::uint64_t kFar = std::uint64_t{3} << 29U;
  for (const std::uint64_t commit_word : {kFar, 3 * kFar}) {
    MakeFrom(2 * kFar, 3);
    state_.next = commit_word;
    MoveToOtherBoot();
    EXPECT_EQ(Recover().next, 2 * kFar + 3);
  }
}

TEST_F(RecoveryTest, FindsNumbersByAnyOfItsWords) {
  constexpr std::uint64_t kFar = std::uint64_t{9} << 32U;
  MakeFrom(kFar, 3);
  state_.next = 0;
  EXPECT_EQ(Recover().next, kFar + 3) << "by what was flushed";
  state_.synced = 0;
  EXPECT_EQ(Recover().next, kFar + 3) << "by the first number";
}

TEST_F(RecoveryTest, AFileWithoutAnyFrameIsEmpty) {
  Make(0);
  MoveToOtherBoot();
  const Recovered recovered = Recover();
  EXPECT_TRUE(recovered.searched);
  EXPECT_EQ(recovered.next, 0U);
}

TEST_F(RecoveryTest, TheLargestNumberIsTheLast) {
  Make(0);
  state_.next = kMaxSequence - 2;
  Put(kMaxSequence - 2, 1);
  Put(kMaxSequence - 1, 2);
  EXPECT_EQ(Recover().next, kMaxSequence - 1) << "no frame makes the commit word implausible";
}

TEST_F(RecoveryTest, WithoutABoundNothingIsLookedForBehindTheEnd) {
  Make(0, kNoBound);
  for (std::uint64_t sequence = 0; sequence < geometry_.slot_count; ++sequence) {
    Put(sequence, sequence);
  }
  EXPECT_EQ(Recover().next, geometry_.slot_count);
}

TEST_F(RecoveryTest, FailsWhenAnEmptyFileIsCut) {
  Make(0);
  PutState(state_, &bytes_);
  WriteBytes(path_, bytes_);
  OpenBytes open(path_, Way::kMapped, Access::kWrite);
  MarkInode(open.file.get(), InodeMark::kOpen);
  std::filesystem::resize_file(path_, kPageSize);
  Recovered recovered;
  EXPECT_EQ(
      host::Recover(open.medium, geometry_, state_, OtherWriter::kNone, Look::kQuick, &recovered),
      kFileLost);
}

TEST_F(RecoveryTest, FailsWhenTheFileIsCut) {
  Make(5);
  PutState(state_, &bytes_);
  WriteBytes(path_, bytes_);
  for (const Way way : {Way::kMapped, Way::kByCalls}) {
    WriteBytes(path_, bytes_);
    OpenBytes open(path_, way, Access::kRead);
    std::filesystem::resize_file(path_, kCellsOffset);
    Recovered recovered;
    recovered.next = 99;
    EXPECT_LT(
        host::Recover(open.medium, geometry_, state_, OtherWriter::kNone, Look::kQuick, &recovered),
        0);
    EXPECT_EQ(recovered.next, 99U) << "untouched";
  }
}

}  // namespace
}  // namespace packetdb::host
