// Records that are not whole any more: told once, then skipped, and never handed out.
#include <gmock/gmock.h>

#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;

class RecordFileHoles : public testing::Test {
 protected:
  // What ReadRecord returns, with the value of what it gave in `value_`.
  int Read(int position) {
    TestRecord record;
    record.fill(~std::uint64_t{0});
    const int result = file_.ReadRecord(position, record.data());
    value_ = record == TestRecord{} ? 0 : ValueOf(record);
    return result;
  }

  int ReadMany(int position, int count) {
    std::vector<TestRecord> records(static_cast<std::size_t>(count));
    return file_.ReadRecords(position, records.data(), count);
  }

  StatePage State() const { return StateOf(ReadBytes(path_)); }

  Disk disk_;
  CDbFile file_;
  std::string path_ = MakeJournal(disk_, 5, 10);  // sequence numbers 0 to 4 hold 1 to 5
  std::uint64_t value_ = 0;
};

TEST_F(RecordFileHoles, ADamagedRecordFailsAndGivesTheOneBefore) {
  DamageRecord(path_, 3);
  ASSERT_EQ(Open(file_, path_, kModeRead, 10), kRecordFileOk);
  EXPECT_EQ(Read(3), kDamagedRecord);
  EXPECT_EQ(value_, 3U) << "who searches by time finds times in order";
  EXPECT_EQ(Read(4), kRecordFileOk);
  EXPECT_EQ(value_, 5U);
}

TEST_F(RecordFileHoles, GivesTheNearestRecordThatIsWhole) {
  DamageRecord(path_, 2);
  DamageRecord(path_, 3);
  ASSERT_EQ(Open(file_, path_, kModeRead, 10), kRecordFileOk);
  EXPECT_EQ(Read(3), kDamagedRecord);
  EXPECT_EQ(value_, 2U);
}

TEST_F(RecordFileHoles, GivesZerosWhenNoneIsWhole) {
  DamageRecord(path_, 0);
  DamageRecord(path_, 1);
  ASSERT_EQ(Open(file_, path_, kModeRead, 10), kRecordFileOk);
  EXPECT_EQ(Read(1), kDamagedRecord);
  EXPECT_EQ(value_, 0U);
}

TEST_F(RecordFileHoles, ManyRecordsStopShortBeforeADamagedOne) {
  DamageRecord(path_, 3);
  ASSERT_EQ(Open(file_, path_, kModeRead, 10), kRecordFileOk);
  EXPECT_EQ(ReadMany(0, 5), 3);
  EXPECT_EQ(ReadMany(3, 2), kDamagedRecord) << "and fail when it is the first";
}

TEST_F(RecordFileHoles, TheNextCountSkipsAllDamageThereIs) {
  DamageRecord(path_, 1);
  DamageRecord(path_, 3);
  for (const int mode : {kModeRead, kModeWrite}) {
    ASSERT_EQ(Open(file_, path_, mode, 10), kRecordFileOk);
    EXPECT_EQ(file_.RecordCount(), 5) << "not met yet";
    Read(1);
    EXPECT_EQ(file_.RecordCount(), 3);
    EXPECT_THAT(Values(file_), ElementsAre(1, 3, 5)) << "mode " << mode;
    EXPECT_EQ(Read(1), kRecordFileOk);
    EXPECT_EQ(value_, 3U);
  }
}

TEST_F(RecordFileHoles, AWriterNotesThemAndTheNextOpeningKnows) {
  DamageRecord(path_, 1);
  ASSERT_EQ(Open(file_, path_, kModeWrite, 10), kRecordFileOk);
  Read(1);
  EXPECT_EQ(file_.RecordCount(), 4);
  EXPECT_EQ(State().damaged, 1U);
  EXPECT_EQ(State().known_holes, 1U);
  file_.Done();
  EXPECT_EQ(State().state, kClosed);
  EXPECT_EQ(State().known_holes, 1U);
  ASSERT_EQ(Open(file_, path_, kModeRead, 10), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 3, 4, 5));
}

TEST_F(RecordFileHoles, AreCountedOnceHoweverOftenTheyAreFound) {
  DamageRecord(path_, 1);
  ASSERT_EQ(Open(file_, path_, kModeWrite, 10), kRecordFileOk);
  Read(1);
  for (std::uint64_t value = 6; value < 9; ++value) {
    EXPECT_EQ(file_.RecordCount(), static_cast<int>(value) - 2);
    ASSERT_GE(Append(file_, value), 0);
    file_.Done();
    EXPECT_EQ(State().damaged, 1U);
    ASSERT_EQ(Open(file_, path_, kModeWrite, 10), kRecordFileOk);
  }
}

TEST_F(RecordFileHoles, AReaderNotesNothing) {
  DamageRecord(path_, 1);
  const Bytes before = ReadBytes(path_);
  ASSERT_EQ(Open(file_, path_, kModeRead, 10), kRecordFileOk);
  Read(1);
  EXPECT_EQ(file_.RecordCount(), 4);
  file_.Done();
  EXPECT_EQ(ReadBytes(path_), before);
}

TEST_F(RecordFileHoles, AnOverwrittenHoleIsARecordAgain) {
  DamageRecord(path_, 1);
  ASSERT_EQ(Open(file_, path_, kModeWrite, 10), kRecordFileOk);
  Read(1);
  EXPECT_EQ(file_.RecordCount(), 4);
  ASSERT_EQ(Overwrite(file_, 1, 20), kRecordFileOk) << "its ticket still names it";
  EXPECT_THAT(Values(file_), ElementsAre(1, 20, 3, 4, 5));
  file_.Done();
  EXPECT_EQ(State().known_holes, 0U);
}

TEST_F(RecordFileHoles, WhatWasOverwrittenBeforeTheNextCountIsNoHole) {
  DamageRecord(path_, 1);
  ASSERT_EQ(Open(file_, path_, kModeWrite, 10), kRecordFileOk);
  EXPECT_EQ(Read(1), kDamagedRecord);
  ASSERT_EQ(Overwrite(file_, 1, 20), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 20, 3, 4, 5));
  EXPECT_EQ(State().damaged, 0U);
}

TEST_F(RecordFileHoles, LeaveWithTheOldestRecords) {
  const std::string path = MakeJournal(disk_, 3, 3);
  DamageRecord(path, 0);
  path_ = path;
  ASSERT_EQ(Open(file_, path, kModeWrite, 3), kRecordFileOk);
  Read(0);
  EXPECT_EQ(file_.RecordCount(), 2);
  ASSERT_EQ(Append(file_, 4), 3);
  EXPECT_EQ(file_.RecordCount(), 3);
  EXPECT_THAT(Values(file_), ElementsAre(2, 3, 4));
  file_.Done();
  EXPECT_EQ(State().known_holes, 0U);
}

// What a power cut leaves: the commit word says more than there is, or less.
TEST_F(RecordFileHoles, RecordsThatWereLostAreSkippedAndCounted) {
  CDbFile writer;
  ASSERT_EQ(Open(writer, path_, kModeWrite, 10), kRecordFileOk);
  for (std::uint64_t value = 6; value <= 8; ++value) ASSERT_GE(Append(writer, value), 0);
  const std::string cut = disk_.NewPath();
  CopyAsKilled(path_, cut);
  writer.Done();
  DamageRecord(cut, 6);
  MoveToOtherBoot(cut);
  EXPECT_THAT(Reopen(cut, 10).values, ElementsAre(1, 2, 3, 4, 5, 6, 8));
  const StatePage state = StateOf(ReadBytes(cut));
  EXPECT_EQ(state.lost_unsynced, 1U);
  EXPECT_EQ(state.damaged, 0U);
  EXPECT_EQ(state.generation, 1U);
  EXPECT_EQ(state.known_holes, 1U);
}

TEST_F(RecordFileHoles, TicketsGoOnBehindALoss) {
  const std::string cut = disk_.NewPath();
  CDbFile writer;
  ASSERT_EQ(Open(writer, path_, kModeWrite, 10), kRecordFileOk);
  for (std::uint64_t value = 6; value <= 8; ++value) ASSERT_GE(Append(writer, value), 0);
  CopyAsKilled(path_, cut);
  writer.Done();
  DamageRecord(cut, 6);
  MoveToOtherBoot(cut);
  ASSERT_EQ(Open(file_, cut, kModeWrite, 10), kRecordFileOk);
  EXPECT_EQ(Overwrite(file_, 7, 80), kRecordFileOk);
  EXPECT_EQ(Append(file_, 9), 8);
  EXPECT_EQ(Overwrite(file_, 8, 90), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2, 3, 4, 5, 6, 80, 90));
}

TEST_F(RecordFileHoles, AnArmedOverwriteIsCompletedByTheNextWriter) {
  CDbFile writer;
  ASSERT_EQ(Open(writer, path_, kModeWrite, 10), kRecordFileOk);
  ASSERT_EQ(Overwrite(writer, 1, 20), kRecordFileOk);
  const std::string cut = disk_.NewPath();
  CopyAsKilled(path_, cut);
  writer.Done();
  DamageRecord(cut, 1);  // as if its slot had been torn
  const Bytes torn = ReadBytes(cut);
  ASSERT_EQ(Open(file_, cut, kModeRead, 10), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 20, 3, 4, 5));
  EXPECT_EQ(ReadBytes(cut), torn) << "a reader sees it without changing anything";
  ASSERT_EQ(Open(file_, cut, kModeWrite, 10), kRecordFileOk);
  ASSERT_EQ(Overwrite(file_, 2, 30), kRecordFileOk) << "which takes the redo sector";
  EXPECT_THAT(Values(file_), ElementsAre(1, 20, 30, 4, 5));
}

TEST_F(RecordFileHoles, ARecordIsNeverThatOfAnotherFile) {
  const std::string other = MakeJournal(disk_, 5, 10);
  Bytes bytes = ReadBytes(path_);
  const Bytes strange = ReadBytes(other);
  std::copy_n(strange.begin() + kCellsOffset, kCellSize, bytes.begin() + kCellsOffset);
  WriteBytes(path_, bytes);
  ASSERT_EQ(Open(file_, path_, kModeRead, 10), kRecordFileOk);
  EXPECT_EQ(file_.RecordCount(), 0);
}

TEST_F(RecordFileHoles, ThousandsOfThemAreSkippedAsOne) {
  constexpr std::uint64_t kRecords = 6000;
  const std::string path = MakeJournal(disk_, kRecords, kRecords);
  Bytes bytes = ReadBytes(path);
  const Geometry geometry = GeometryOfFile(path);
  for (std::uint64_t sequence = 10; sequence < 5990; ++sequence) {
    bytes[OffsetOf(geometry, sequence)] ^= 1;
  }
  WriteBytes(path, bytes);
  ASSERT_EQ(Open(file_, path, kModeRead, kRecords), kRecordFileOk);
  EXPECT_EQ(Read(5500), kDamagedRecord);
  EXPECT_EQ(value_, 0U) << "nothing is looked for so far back";
  EXPECT_EQ(Read(4000), kDamagedRecord);
  EXPECT_EQ(value_, 10U);
  EXPECT_EQ(file_.RecordCount(), 20);
  const std::vector<std::uint64_t> values = Values(file_);
  EXPECT_EQ(values[9], 10U);
  EXPECT_EQ(values[10], 5991U);
}

}  // namespace
}  // namespace packetdb::host
