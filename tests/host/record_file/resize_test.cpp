// Opening a file for another number of records: the newest are kept, under the same tickets.
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <numeric>
#include <sys/resource.h>
#include <sys/stat.h>

#include "host/record_file/open.h"
#include "tests/host/record_file/child.h"
#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;

class RecordFileResize : public testing::Test {
 protected:
  void OpenFor(unsigned long capacity) {
    ASSERT_EQ(Open(file_, path_, kModeWrite, capacity), kRecordFileOk);
  }
  Superblock Block() const { return SuperblockOf(ReadBytes(path_)); }
  StatePage State() const { return StateOf(ReadBytes(path_)); }

  Disk disk_;
  CDbFile file_;
  std::string path_ = MakeJournal(disk_, 5, 3);  // 3, 4 and 5 are left, with tickets 2 to 4
};

TEST_F(RecordFileResize, ALargerFileKeepsAllAndTakesMore) {
  OpenFor(5);
  EXPECT_THAT(Values(file_), ElementsAre(3, 4, 5));
  for (std::uint64_t value = 6; value <= 8; ++value) ASSERT_GE(Append(file_, value), 0);
  EXPECT_THAT(Values(file_), ElementsAre(4, 5, 6, 7, 8));
  file_.Done();
  EXPECT_EQ(Block().capacity, 5U);
  EXPECT_THAT(Reopen(path_, 5).values, ElementsAre(4, 5, 6, 7, 8));
}

TEST_F(RecordFileResize, ASmallerFileKeepsTheNewest) {
  OpenFor(2);
  EXPECT_THAT(Values(file_), ElementsAre(4, 5));
  EXPECT_EQ(State().overwritten_before, 3U) << "1, 2 and 3";
}

TEST_F(RecordFileResize, CountsOverwritesOn) {
  OpenFor(5);
  EXPECT_EQ(Overwrite(file_, 4, 50), kRecordFileOk);
  file_.Done();
  OpenFor(2);
  EXPECT_EQ(Overwrite(file_, 4, 51), kRecordFileOk);
  EXPECT_EQ(State().merges, 2U);
  file_.Done();
  EXPECT_EQ(State().merges_synced, 2U);
}

TEST_F(RecordFileResize, TicketsGoOn) {
  for (const unsigned long capacity : {4UL, 2UL}) {
    OpenFor(capacity);
    EXPECT_EQ(Overwrite(file_, 4, 50), kRecordFileOk);
    EXPECT_EQ(Overwrite(file_, 1, 20), kDeadTicket);
  }
  EXPECT_EQ(Append(file_, 6), 5);
  EXPECT_THAT(Values(file_), ElementsAre(50, 6));
}

TEST_F(RecordFileResize, TheNewFileIsAnotherOne) {
  const Superblock before = Block();
  OpenFor(5);
  EXPECT_NE(Block().file_id, before.file_id);
  EXPECT_EQ(Block().first_sequence, 2U);
  EXPECT_THAT(disk_.Names(), ElementsAre("journal 0"));
  struct stat status = {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(RecordFileResize, TheNewFileIsLocked) {
  OpenFor(5);
  CDbFile second;
  EXPECT_EQ(Open(second, path_, kModeWrite, 5), kInUse);
}

TEST_F(RecordFileResize, TheNewFileIsClosedUntilItIsChanged) {
  OpenFor(5);
  EXPECT_EQ(State().state, kClosed);
  EXPECT_EQ(State().next, 5U);
  EXPECT_EQ(State().synced, 5U);
}

TEST_F(RecordFileResize, AReaderAndWhoDoesNotKnowTakeTheFileAsItIs) {
  const Bytes before = ReadBytes(path_);
  ASSERT_EQ(Open(file_, path_, kModeRead, 7), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(3, 4, 5));
  OpenFor(0);
  EXPECT_THAT(Values(file_), ElementsAre(3, 4, 5));
  OpenFor(kNoBound);
  EXPECT_THAT(Values(file_), ElementsAre(3, 4, 5));
  file_.Done();
  EXPECT_EQ(ReadBytes(path_), before);
}

TEST_F(RecordFileResize, AFileWithoutABoundCanBeGivenOne) {
  path_ = MakeJournal(disk_, 30'000, kNoBound);
  OpenFor(2);
  EXPECT_THAT(Values(file_), ElementsAre(29'999, 30'000));
  EXPECT_EQ(State().overwritten_before, 29'998U);
}

TEST_F(RecordFileResize, ManyRecordsAreCopiedAcrossPieces) {
  path_ = MakeJournal(disk_, 20'000, 15'000);
  OpenFor(10'000);
  std::vector<std::uint64_t> expected(10'000);
  std::iota(expected.begin(), expected.end(), 10'001);
  EXPECT_EQ(Values(file_), expected);
  file_.Done();
  EXPECT_EQ(Reopen(path_, 10'000).values, expected);
}

// The copy begins in the middle of the new ring and goes round its end.
TEST_F(RecordFileResize, CopiesAroundTheEndOfTheNewRing) {
  const std::uint64_t slots = GeometryOf(72, 100).slot_count;
  path_ = MakeJournal(disk_, slots + 30, 200);
  OpenFor(100);
  std::vector<std::uint64_t> expected(100);
  std::iota(expected.begin(), expected.end(), slots - 69);
  EXPECT_EQ(Values(file_), expected);
  file_.Done();
  EXPECT_EQ(Reopen(path_, 100).values, expected);
}

TEST_F(RecordFileResize, AnEmptyFileStaysEmpty) {
  path_ = MakeJournal(disk_, 0, 3);
  OpenFor(5);
  EXPECT_EQ(file_.RecordCount(), 0);
  EXPECT_EQ(Append(file_, 1), 0);
}

TEST_F(RecordFileResize, DamagedRecordsAreLeftBehind) {
  path_ = MakeJournal(disk_, 5, 5);
  DamageRecord(path_, 1);
  OpenFor(10);
  EXPECT_THAT(Values(file_), ElementsAre(1, 3, 4, 5));
  EXPECT_EQ(State().damaged, 1U);
  EXPECT_EQ(State().known_holes, 0U);
  EXPECT_EQ(Append(file_, 6), 5);
}

TEST_F(RecordFileResize, CountersAreTakenOver) {
  CDbFile writer;
  ASSERT_EQ(Open(writer, path_, kModeWrite, 3), kRecordFileOk);
  Append(writer, 6);
  const std::string cut = disk_.NewPath();
  CopyAsKilled(path_, cut);
  writer.Done();
  MoveToOtherBoot(cut);
  DamageRecord(cut, 3);
  DamageRecord(cut, 5);
  path_ = cut;
  OpenFor(10);
  EXPECT_EQ(State().generation, 1U);
  EXPECT_EQ(State().damaged, 1U);
  EXPECT_EQ(State().lost_unsynced, 1U);
}

TEST_F(RecordFileResize, RemovesWhatAKilledOneLeft) {
  WriteBytes(path_ + ".~new", Bytes(100, 'x'));
  OpenFor(5);
  EXPECT_THAT(disk_.Names(), ElementsAre("journal 0"));
}

// There is no room for both: the file is used as it is.
TEST_F(RecordFileResize, WithoutRoomTheCapacityStays) {
  const auto resize = [&] {
    const rlimit limit = {400'000, 400'000};
    if (std::signal(SIGXFSZ, SIG_IGN) == SIG_ERR || setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
    if (Open(file_, path_, kModeWrite, 100'000) != kRecordFileOk) return 2;
    if (Append(file_, 6) != 5) return 3;
    file_.Done();
    return 0;
  };
  EXPECT_EQ(InChild(resize), 0);
  EXPECT_EQ(Block().capacity, 3U);
  EXPECT_THAT(disk_.Names(), ElementsAre("journal 0"));
  EXPECT_THAT(Reopen(path_).values, ElementsAre(4, 5, 6));
}

TEST_F(RecordFileResize, AResizeInProgressElsewhereLeavesTheCapacity) {
  WriteBytes(path_ + ".~new", Bytes(100, 'x'));
  Descriptor other;
  ASSERT_EQ(OpenLocked(path_ + ".~new", Access::kWrite, &other), kRecordFileOk);
  OpenFor(5);
  EXPECT_EQ(Block().capacity, 3U);
  EXPECT_THAT(Values(file_), ElementsAre(3, 4, 5));
}

TEST_F(RecordFileResize, HoldsForOtherRecordSizes) {
  for (const unsigned long size : {1UL, 60UL, 64UL, 504UL}) {
    const std::string path = disk_.NewPath();
    Bytes record(size);
    ASSERT_EQ(file_.Init(path, "m", size, 10, kModeMissing), kRecordFileOk);
    for (char i = 0; i < 15; ++i) {
      record.assign(size, i);
      ASSERT_EQ(file_.AppendRecord(record.data()), i);
    }
    ASSERT_EQ(file_.Init(path, "m", size, 4, kModeWrite), kRecordFileOk);
    ASSERT_EQ(file_.RecordCount(), 4);
    ASSERT_EQ(file_.ReadRecord(0, record.data()), kRecordFileOk);
    EXPECT_EQ(record, Bytes(size, 11));
  }
}

}  // namespace
}  // namespace packetdb::host
