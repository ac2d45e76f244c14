// Records as an onlooker sees them.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>

#include "tests/host/record_file/onlooker.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;

TEST(RecordFileSnapshot, ReadsEveryRecordFromOldToNew) {
  Disk disk;
  Onlooker onlooker(MakeJournal(disk, 5, 3));
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  EXPECT_EQ(onlooker.snapshot().oldest(), 2U);
  EXPECT_EQ(onlooker.snapshot().end(), 5U);
  EXPECT_THAT(onlooker.Values(), ElementsAre(3, 4, 5));
}

TEST(RecordFileSnapshot, ReadsAFileOfManyChunks) {
  constexpr std::uint64_t kCount = 5000;
  Disk disk;
  for (const unsigned long capacity : {4000UL, kNoBound}) {
    Onlooker onlooker(MakeJournal(disk, kCount, capacity));
    ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
    const std::uint64_t oldest = onlooker.snapshot().oldest();
    const auto values = onlooker.Values();
    ASSERT_EQ(values.size(), capacity == kNoBound ? kCount : capacity);
    for (std::size_t i = 0; i < values.size(); ++i) ASSERT_EQ(values[i], oldest + i + 1);
  }
}

TEST(RecordFileSnapshot, ReadsAFileThatIsTooLong) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2, 5);
  std::filesystem::resize_file(path, 1000000);
  Onlooker onlooker(path);
  EXPECT_EQ(onlooker.Begin(), kOverlongFile);
  ASSERT_EQ(onlooker.BeginDespiteDamage(), kRecordFileOk);
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, 2));
}

TEST(RecordFileSnapshot, ReadsInAnyOrder) {
  Disk disk;
  Onlooker onlooker(MakeJournal(disk, 4000, 3000));
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  EXPECT_EQ(onlooker.Value(3999), 4000U);
  EXPECT_EQ(onlooker.Value(1000), 1001U);
  EXPECT_EQ(onlooker.Value(2500), 2501U);
}

TEST(RecordFileSnapshot, TellsWhereEachRecordIs) {
  Disk disk;
  Onlooker onlooker(MakeJournal(disk, 5, 3));
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  SnapshotRecord record;
  ASSERT_EQ(onlooker.snapshot().Read(3, &record), kRecordFileOk);
  EXPECT_EQ(record.offset, kCellsOffset + 3 * 80);
  ASSERT_EQ(onlooker.snapshot().Read(4, &record), kRecordFileOk);
  EXPECT_EQ(record.offset, kCellsOffset + 4 * 80);
}

TEST(RecordFileSnapshot, LooksAtAFileThatIsOpenForWriting) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2);
  CDbFile writer;
  ASSERT_EQ(Open(writer, path, kModeWrite), kRecordFileOk);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, 2));
  EXPECT_EQ(Append(writer, 3), 2) << "the writer does not notice";
}

TEST(RecordFileSnapshot, DoesNotKeepAWriterOut) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  CDbFile writer;
  EXPECT_EQ(Open(writer, path, kModeWrite), kRecordFileOk);
}

TEST(RecordFileSnapshot, ShowsTheRecordsOfItsBeginning) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2, 10);
  CDbFile writer;
  ASSERT_EQ(Open(writer, path, kModeWrite, 10), kRecordFileOk);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  Append(writer, 3);
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, 2));
}

TEST(RecordFileSnapshot, RefusesEveryTruncation) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2);
  const Bytes sound = ReadBytes(path);
  for (std::size_t length = 0; length < sound.size(); length += 1777) {
    WriteBytes(path, {sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(length)});
    ASSERT_LT(Onlooker(path).Begin(), 0) << length;
  }
}

TEST(RecordFileSnapshot, ReadsWhatATruncatedFileStillHas) {
  Disk disk;
  const std::string path = MakeJournal(disk, 9, 9);
  std::filesystem::resize_file(path, kCellsOffset + kCellSize + 79);
  Onlooker onlooker(path);
  EXPECT_EQ(onlooker.Begin(), kTruncatedFile);
  ASSERT_EQ(onlooker.BeginDespiteDamage(), kRecordFileOk);
  const auto none = std::nullopt;
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, 2, 3, 4, 5, 6, none, none, none));
  SnapshotRecord record;
  ASSERT_EQ(onlooker.snapshot().Read(6, &record), kRecordFileOk);
  EXPECT_EQ(record.fate, RecordFate::kMissing);
  EXPECT_EQ(record.offset, kCellsOffset + kCellSize);
}

TEST(RecordFileSnapshot, OtherDamageKeepsItFromBeginning) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2, 5);
  const Bytes sound = ReadBytes(path);
  Bytes bytes = sound;
  bytes[64] = static_cast<char>(bytes[64] + 1);
  bytes[kPageSize + 64] = static_cast<char>(bytes[kPageSize + 64] + 1);
  WriteBytes(path, bytes);
  EXPECT_EQ(Onlooker(path).BeginDespiteDamage(), kDamagedHeader);
  bytes = sound;
  bytes.resize(sound.size() - 1);
  StatePage state = StateOf(bytes);
  state.next = kMaxSequence;
  PutState(state, &bytes);
  WriteBytes(path, bytes);
  EXPECT_EQ(Onlooker(path).BeginDespiteDamage(), kTruncatedFile);
  WriteBytes(path, {sound.begin(), sound.begin() + 4000});
  EXPECT_EQ(Onlooker(path).BeginDespiteDamage(), kTruncatedFile);
}

TEST(RecordFileSnapshot, SaysWhichRecordsAreGone) {
  Disk disk;
  const std::string path = MakeJournal(disk, 3);
  CDbFile writer;
  ASSERT_EQ(Open(writer, path, kModeWrite), kRecordFileOk);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  for (std::uint64_t value = 4; value <= 4000; ++value) Append(writer, value);
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, 2, 3)) << "slots beyond the capacity keep them";
  for (std::uint64_t value = 4001; value <= 4131; ++value) Append(writer, value);
  EXPECT_THAT(onlooker.Values(), ElementsAre(std::nullopt, std::nullopt, std::nullopt));
  SnapshotRecord record;
  ASSERT_EQ(onlooker.snapshot().Read(0, &record), kRecordFileOk);
  EXPECT_EQ(record.fate, RecordFate::kGone);
  EXPECT_EQ(record.bytes, nullptr);
}

TEST(RecordFileSnapshot, TellsADamagedRecordFromOneThatWasLost) {
  Disk disk;
  const std::string path = MakeJournal(disk, 5, 5);
  Bytes bytes = ReadBytes(path);
  bytes[kCellsOffset + 80] = 'x';
  std::fill_n(bytes.begin() + kCellsOffset + 240, 80, '\0');
  WriteBytes(path, bytes);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, std::nullopt, 3, std::nullopt, 5));
  SnapshotRecord record;
  ASSERT_EQ(onlooker.snapshot().Read(1, &record), kRecordFileOk);
  EXPECT_EQ(record.fate, RecordFate::kDamaged);
  EXPECT_EQ(record.offset, kCellsOffset + 80);
  ASSERT_EQ(onlooker.snapshot().Read(3, &record), kRecordFileOk);
  EXPECT_EQ(record.fate, RecordFate::kLost);
}

TEST(RecordFileSnapshot, ReadsAnInterruptedOverwriteFromTheRedoSector) {
  Disk disk;
  const std::string path = MakeJournal(disk, 3);
  {
    CDbFile writer;
    ASSERT_EQ(Open(writer, path, kModeWrite), kRecordFileOk);
    Overwrite(writer, 1, 200);
  }
  Bytes bytes = ReadBytes(path);
  std::fill_n(bytes.begin() + kCellsOffset + 80, 40, 'x');
  WriteBytes(path, bytes);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, 200, 3));
  EXPECT_EQ(ReadBytes(path), bytes) << "and nothing is written";
}

TEST(RecordFileSnapshot, AFileThatIsCutMeanwhileIsAFailure) {
  Disk disk;
  const std::string path = MakeJournal(disk, 3);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  std::filesystem::resize_file(path, 4100);
  SnapshotRecord record;
  EXPECT_EQ(onlooker.snapshot().Read(0, &record), kFileLost);
}

}  // namespace
}  // namespace packetdb::host
