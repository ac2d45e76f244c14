// Readers beside a writer, and after one that died: no lock, no waiting, a window that stands still
// until they ask again.
#include <filesystem>
#include <gmock/gmock.h>

#include "tests/host/record_file/child.h"
#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RecordFileReaders : public testing::Test {
 protected:
  void OpenBoth(std::uint64_t count, unsigned long capacity) {
    path_ = MakeJournal(disk_, count, capacity);
    ASSERT_EQ(Open(writer_, path_, kModeWrite, capacity), kRecordFileOk);
    ASSERT_EQ(Open(reader_, path_, kModeRead, capacity), kRecordFileOk);
  }

  // What the reader gets without asking for the count before.
  int Read(int position, std::uint64_t* value) {
    TestRecord record;
    const int result = reader_.ReadRecord(position, record.data());
    if (result >= 0) *value = ValueOf(record);
    return result;
  }
  std::uint64_t ValueAt(int position) {
    std::uint64_t value = 0;
    EXPECT_EQ(Read(position, &value), kRecordFileOk);
    return value;
  }

  Disk disk_;
  std::string path_;
  CDbFile writer_;
  CDbFile reader_;
};

TEST_F(RecordFileReaders, SeeWhatWasThereWhenTheyCounted) {
  OpenBoth(3, 3);
  ASSERT_EQ(reader_.RecordCount(), 3);
  Append(writer_, 4);
  Append(writer_, 5);
  EXPECT_EQ(ValueAt(0), 1U) << "overwritten for the writer, and still in its slot";
  EXPECT_EQ(ValueAt(2), 3U);
  std::uint64_t value = 0;
  EXPECT_EQ(Read(3, &value), kBadPosition);
  ASSERT_EQ(reader_.RecordCount(), 3);
  EXPECT_EQ(ValueAt(0), 3U);
  EXPECT_EQ(ValueAt(2), 5U);
}

TEST_F(RecordFileReaders, SeeOverwritesAtOnce) {
  OpenBoth(3, 3);
  ASSERT_EQ(Overwrite(writer_, 1, 20), kRecordFileOk);
  EXPECT_EQ(ValueAt(1), 20U);
}

TEST_F(RecordFileReaders, AreToldWhatTheWriterHasOvertaken) {
  OpenBoth(3, 3);
  ASSERT_EQ(reader_.RecordCount(), 3);
  const std::uint64_t slots = GeometryOfFile(path_).slot_count;
  for (std::uint64_t value = 4; value < slots + 2; ++value) ASSERT_GE(Append(writer_, value), 0);
  std::uint64_t value = 0;
  EXPECT_EQ(Read(0, &value), kRecordGone);
  EXPECT_EQ(ValueAt(1), 2U) << "its slot is the next that is written";
  Bytes records(3 * kTestRecordSize);
  EXPECT_EQ(reader_.ReadRecords(0, records.data(), 3), kRecordGone);
  EXPECT_EQ(reader_.RecordCount(), 3);
  EXPECT_THAT(Values(reader_), ElementsAre(slots - 1, slots, slots + 1));
}

TEST_F(RecordFileReaders, FollowAFileWithoutABoundThatGrows) {
  OpenBoth(2, kNoBound);
  Append(writer_, 3);
  EXPECT_THAT(Values(reader_), ElementsAre(1, 2, 3));
  for (std::uint64_t value = 4; value <= 20'000; ++value) ASSERT_GE(Append(writer_, value), 0);
  ASSERT_EQ(reader_.RecordCount(), 20'000);
  EXPECT_EQ(Values(reader_).back(), 20'000U);
}

TEST_F(RecordFileReaders, ExcludeNobody) {
  OpenBoth(2, 3);
  CDbFile second;
  EXPECT_EQ(Open(second, path_, kModeRead), kRecordFileOk);
  writer_.Done();
  EXPECT_EQ(Open(writer_, path_, kModeWrite), kRecordFileOk);
}

TEST_F(RecordFileReaders, ChangeNothingInAFileThatADeadWriterLeft) {
  OpenBoth(2, 3);
  Append(writer_, 3);
  const std::string killed = disk_.NewPath();
  CopyAsKilled(path_, killed);
  const Bytes before = ReadBytes(killed);
  ASSERT_EQ(Open(reader_, killed, kModeRead), kRecordFileOk);
  EXPECT_THAT(Values(reader_), ElementsAre(1, 2, 3));
  reader_.Done();
  EXPECT_EQ(ReadBytes(killed), before);
}

TEST_F(RecordFileReaders, RecoverWhatADeadWriterLeftForThemselves) {
  OpenBoth(2, 3);
  Append(writer_, 3);
  const std::string killed = disk_.NewPath();
  CopyAsKilled(path_, killed);
  Bytes bytes = ReadBytes(killed);
  StatePage state = StateOf(bytes);
  state.next = 2;  // killed before the commit
  PutState(state, &bytes);
  WriteBytes(killed, bytes);
  ASSERT_EQ(Open(reader_, killed, kModeRead), kRecordFileOk);
  EXPECT_THAT(Values(reader_), ElementsAre(1, 2, 3));
}

TEST_F(RecordFileReaders, FollowTheWriterThatComesAfterADeadOne) {
  OpenBoth(2, 3);
  Append(writer_, 3);
  const std::string killed = disk_.NewPath();
  CopyAsKilled(path_, killed);
  ASSERT_EQ(Open(reader_, killed, kModeRead), kRecordFileOk);
  ASSERT_EQ(Open(writer_, killed, kModeWrite), kRecordFileOk);
  Append(writer_, 4);
  EXPECT_THAT(Values(reader_), ElementsAre(2, 3, 4));
}

TEST_F(RecordFileReaders, IgnoreACommitWordThatMakesNoSense) {
  OpenBoth(2, 3);
  OpenBytes open(path_, Way::kMapped);
  open.medium.StoreWord(kNextOffset, ~std::uint64_t{0});
  EXPECT_THAT(Values(reader_), ElementsAre(1, 2));
}

TEST_F(RecordFileReaders, FollowNoCommitWordThatMakesNoSense) {
  OpenBoth(2, kNoBound);
  OpenBytes open(path_, Way::kMapped);
  open.medium.StoreWord(kNextOffset, kMaxRecords + 1);
  EXPECT_THAT(Values(reader_), ElementsAre(1, 2));
}

TEST_F(RecordFileReaders, AreToldThatTheFileWasCut) {
  OpenBoth(2, 3);
  writer_.Done();
  std::filesystem::resize_file(path_, kPageSize);
  std::uint64_t value = 0;
  EXPECT_EQ(Read(0, &value), kFileLost);
}

TEST_F(RecordFileReaders, AWriterIsToldThatTheFileWasCut) {
  OpenBoth(2, 3);
  std::filesystem::resize_file(path_, kPageSize);
  EXPECT_EQ(Overwrite(writer_, 0, 1), kFileLost);
  EXPECT_EQ(Append(writer_, 1), kFileLost);
  writer_.Done();
  EXPECT_EQ(std::filesystem::file_size(path_), kPageSize) << "and leaves the rest alone";
}

// In a process of its own, as readers of the daemon's journals are.
TEST_F(RecordFileReaders, OfOtherProcessesReadBesideTheWriter) {
  OpenBoth(2, 3);
  Append(writer_, 3);
  const auto read_elsewhere = [&] {
    CDbFile other;
    if (Open(other, path_, kModeRead) != kRecordFileOk) return -1;
    const std::vector<std::uint64_t> values = Values(other);
    return values == std::vector<std::uint64_t>{1, 2, 3} ? 0 : 1;
  };
  EXPECT_EQ(InChild(read_elsewhere), 0);
}

TEST_F(RecordFileReaders, AnUnwrittenFileHasNothingForThem) {
  OpenBoth(0, 3);
  EXPECT_THAT(Values(reader_), IsEmpty());
}

}  // namespace
}  // namespace packetdb::host
