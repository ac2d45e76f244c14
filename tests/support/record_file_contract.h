// What every implementation of CDbFile must do, as a test suite: the file on disk and the one in
// memory that the library's tests run on pass the same cases, so that neither can drift.
//
// To hold an implementation to it:
//
//   struct MyWorld {
//     std::string NewPath();  // a path where nothing exists yet; another one with every call
//   };
//   INSTANTIATE_TYPED_TEST_SUITE_P(Mine, RecordFileContract, MyWorld);
//
// Each case has a fresh world. Only the public operations of CDbFile are used.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "platform/record_file.h"

namespace packetdb::contract {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

inline constexpr int kReadOnly = 0;
inline constexpr int kWrite = 1;
inline constexpr int kCreateAnew = 2;
inline constexpr int kCreateMissing = 4;
inline constexpr int kOtherFormat = -6;
inline constexpr const char* kMagic = "Contract-Records-1";

// Nine equal words: a size that is no multiple of 8, and a content that shows when two records were
// mixed.
using Record = std::array<std::uint32_t, 9>;

inline Record MakeRecord(std::uint32_t value) {
  Record record;
  record.fill(value);
  return record;
}

// The value that a record was made of; fails the test for a mixture.
inline std::uint32_t ValueOf(const Record& record) {
  EXPECT_THAT(record, testing::Each(record.front()));
  return record.front();
}

inline int Open(CDbFile& file, const std::string& path, unsigned long max_records, int mode) {
  return file.Init(path, kMagic, sizeof(Record), max_records, mode);
}

inline int Append(CDbFile& file, std::uint32_t value) {
  return file.AppendRecord(MakeRecord(value).data());
}

inline int Overwrite(CDbFile& file, int ticket, std::uint32_t value) {
  return file.WriteRecord(ticket, MakeRecord(value).data());
}

// Values of up to `count` records from position `first` on, read in one call.
inline std::vector<std::uint32_t> ReadMany(CDbFile& file, int first, int count) {
  std::vector<Record> records(static_cast<std::size_t>(count));
  const int read = file.ReadRecords(first, records.data(), count);
  std::vector<std::uint32_t> values;
  values.reserve(records.size());
  for (int i = 0; i < read; ++i) values.push_back(ValueOf(records[static_cast<std::size_t>(i)]));
  return values;
}

// All values, oldest first, read one by one.
inline std::vector<std::uint32_t> ReadAll(CDbFile& file) {
  std::vector<std::uint32_t> values;
  for (int position = 0; position < file.RecordCount(); ++position) {
    Record record = {};
    EXPECT_GE(file.ReadRecord(position, record.data()), 0) << "position " << position;
    values.push_back(ValueOf(record));
  }
  return values;
}

template <class World>
class RecordFileContract : public testing::Test {
 protected:
  // Opens `file` for writing and fills it with the values 0, 1, ... `appended` - 1.
  void Fill(unsigned long max_records, std::uint32_t appended) {
    ASSERT_EQ(Open(file, path, max_records, kWrite | kCreateMissing), 0);
    for (std::uint32_t value = 0; value < appended; ++value) ASSERT_GE(Append(file, value), 0);
  }

  World world;
  std::string path = world.NewPath();
  CDbFile file;
};

TYPED_TEST_SUITE_P(RecordFileContract);

TYPED_TEST_P(RecordFileContract, AFreshFileIsEmpty) {
  ASSERT_EQ(Open(this->file, this->path, 10, kWrite | kCreateMissing), 0);
  EXPECT_EQ(this->file.RecordCount(), 0);
}

TYPED_TEST_P(RecordFileContract, WritingAloneDoesNotCreate) {
  EXPECT_LT(Open(this->file, this->path, 10, kWrite), 0);
  EXPECT_LT(Open(this->file, this->path, 10, kReadOnly), 0) << "the failure left a file";
}

TYPED_TEST_P(RecordFileContract, ReadingDoesNotCreate) {
  EXPECT_LT(Open(this->file, this->path, 10, kReadOnly), 0);
  EXPECT_LT(Open(this->file, this->path, 10, kWrite), 0) << "the failure left a file";
}

TYPED_TEST_P(RecordFileContract, AMissingFileIsNotOneOfAnotherFormat) {
  EXPECT_NE(Open(this->file, this->path, 10, kReadOnly), kOtherFormat);
  EXPECT_NE(Open(this->file, this->path, 10, kWrite), kOtherFormat);
}

TYPED_TEST_P(RecordFileContract, CreateMissingKeepsWhatIsThere) {
  this->Fill(10, 3);
  ASSERT_EQ(Open(this->file, this->path, 10, kWrite | kCreateMissing), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(0, 1, 2));
}

TYPED_TEST_P(RecordFileContract, CreateAnewEmptiesWhatIsThere) {
  this->Fill(10, 3);
  ASSERT_EQ(Open(this->file, this->path, 10, kWrite | kCreateAnew), 0);
  EXPECT_EQ(this->file.RecordCount(), 0);
  EXPECT_EQ(Append(this->file, 7), 0) << "tickets start over";
}

TYPED_TEST_P(RecordFileContract, CreateAnewCreatesAMissingFile) {
  ASSERT_EQ(Open(this->file, this->path, 10, kWrite | kCreateAnew), 0);
  EXPECT_EQ(Append(this->file, 7), 0);
}

TYPED_TEST_P(RecordFileContract, CreateAnewReplacesAnotherFormat) {
  this->Fill(10, 3);
  ASSERT_EQ(this->file.Init(this->path, "Another", 8, 20, kWrite | kCreateAnew), 0);
  EXPECT_EQ(this->file.RecordCount(), 0);
}

TYPED_TEST_P(RecordFileContract, CreationNeedsRoomForRecords) {
  EXPECT_LT(Open(this->file, this->path, 0, kWrite | kCreateMissing), 0);
  EXPECT_LT(Open(this->file, this->path, 0, kWrite | kCreateAnew), 0);
  EXPECT_LT(Open(this->file, this->path, 10, kReadOnly), 0) << "the failure left a file";
}

TYPED_TEST_P(RecordFileContract, CreationWithoutRoomKeepsWhatIsThere) {
  this->Fill(10, 3);
  EXPECT_LT(Open(this->file, this->path, 0, kWrite | kCreateAnew), 0);
  ASSERT_EQ(Open(this->file, this->path, 10, kReadOnly), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(0, 1, 2));
}

TYPED_TEST_P(RecordFileContract, AnotherMagicIsAnotherFormat) {
  this->Fill(10, 1);
  EXPECT_EQ(this->file.Init(this->path, "Another", sizeof(Record), 10, kWrite), kOtherFormat);
  EXPECT_EQ(this->file.Init(this->path, "Another", sizeof(Record), 10, kReadOnly), kOtherFormat);
  EXPECT_EQ(this->file.Init(this->path, "Another", sizeof(Record), 10, kWrite | kCreateMissing),
            kOtherFormat);
}

TYPED_TEST_P(RecordFileContract, TheBeginningOfAMagicIsAnotherFormat) {
  this->Fill(10, 1);
  EXPECT_EQ(this->file.Init(this->path, "Contract-Records", sizeof(Record), 10, kReadOnly),
            kOtherFormat);
  EXPECT_EQ(this->file.Init(this->path, "Contract-Records-10", sizeof(Record), 10, kReadOnly),
            kOtherFormat);
}

TYPED_TEST_P(RecordFileContract, AnotherRecordSizeIsAnotherFormat) {
  this->Fill(10, 1);
  EXPECT_EQ(this->file.Init(this->path, kMagic, sizeof(Record) + 4, 10, kReadOnly), kOtherFormat);
  EXPECT_EQ(this->file.Init(this->path, kMagic, sizeof(Record) - 1, 10, kWrite), kOtherFormat);
}

TYPED_TEST_P(RecordFileContract, AFileOfAnotherFormatIsLeftAlone) {
  this->Fill(10, 2);
  ASSERT_EQ(this->file.Init(this->path, "Another", 8, 10, kWrite | kCreateMissing), kOtherFormat);
  EXPECT_EQ(this->file.RecordCount(), 0) << "closed after the failure";
  ASSERT_EQ(Open(this->file, this->path, 10, kWrite), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(0, 1));
}

TYPED_TEST_P(RecordFileContract, TicketsCountFromZero) {
  this->Fill(2, 0);
  EXPECT_EQ(Append(this->file, 5), 0);
  EXPECT_EQ(Append(this->file, 6), 1);
  EXPECT_EQ(Append(this->file, 7), 2) << "also beyond the capacity";
}

TYPED_TEST_P(RecordFileContract, ReadsWhatWasAppended) {
  this->Fill(10, 4);
  EXPECT_EQ(this->file.RecordCount(), 4);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(0, 1, 2, 3));
}

TYPED_TEST_P(RecordFileContract, AFullFileKeepsTheNewest) {
  this->Fill(3, 3);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(0, 1, 2));
  for (std::uint32_t value = 3; value < 20; ++value) {
    ASSERT_EQ(Append(this->file, value), static_cast<int>(value));
    ASSERT_THAT(ReadAll(this->file), ElementsAre(value - 2, value - 1, value));
  }
}

TYPED_TEST_P(RecordFileContract, AFileOfOneRecordKeepsTheNewest) {
  this->Fill(1, 5);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(4));
  EXPECT_GE(Overwrite(this->file, 4, 40), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(40));
}

TYPED_TEST_P(RecordFileContract, ReadsManyAtOnceWhereverTheRingWraps) {
  for (std::uint32_t appended = 5; appended < 17; ++appended) {
    ASSERT_EQ(Open(this->file, this->path, 5, kWrite | kCreateAnew), 0);
    for (std::uint32_t value = 0; value < appended; ++value) Append(this->file, value);
    EXPECT_THAT(ReadMany(this->file, 0, 5),
                ElementsAre(appended - 5, appended - 4, appended - 3, appended - 2, appended - 1));
    EXPECT_THAT(ReadMany(this->file, 2, 2), ElementsAre(appended - 3, appended - 2));
  }
}

TYPED_TEST_P(RecordFileContract, ReadsFewerOnlyAtTheEnd) {
  this->Fill(5, 8);
  EXPECT_THAT(ReadMany(this->file, 0, 100), ElementsAre(3, 4, 5, 6, 7));
  EXPECT_THAT(ReadMany(this->file, 3, 3), ElementsAre(6, 7));
  EXPECT_THAT(ReadMany(this->file, 4, 1), ElementsAre(7));
}

TYPED_TEST_P(RecordFileContract, ReadsNothingBeyondTheEnd) {
  this->Fill(5, 3);
  Record record = MakeRecord(99);
  EXPECT_LT(this->file.ReadRecord(3, record.data()), 0);
  EXPECT_LT(this->file.ReadRecord(4, record.data()), 0);
  EXPECT_LE(this->file.ReadRecords(3, record.data(), 1), 0);
  EXPECT_EQ(ValueOf(record), 99) << "the buffer is as before";
}

TYPED_TEST_P(RecordFileContract, RefusesANegativePosition) {
  this->Fill(5, 3);
  Record record = MakeRecord(99);
  EXPECT_LT(this->file.ReadRecord(-1, record.data()), 0);
  EXPECT_LT(this->file.ReadRecords(-1, record.data(), 1), 0);
  EXPECT_EQ(ValueOf(record), 99);
}

TYPED_TEST_P(RecordFileContract, ReadsNothingForACountThatIsNotPositive) {
  this->Fill(5, 3);
  Record record = MakeRecord(99);
  EXPECT_LE(this->file.ReadRecords(0, record.data(), 0), 0);
  EXPECT_LT(this->file.ReadRecords(0, record.data(), -1), 0);
  EXPECT_EQ(ValueOf(record), 99);
}

TYPED_TEST_P(RecordFileContract, AnEmptyFileHasNothingToRead) {
  this->Fill(5, 0);
  Record record = MakeRecord(99);
  EXPECT_LT(this->file.ReadRecord(0, record.data()), 0);
  EXPECT_LE(this->file.ReadRecords(0, record.data(), 1), 0);
}

TYPED_TEST_P(RecordFileContract, OverwritesTheRecordThatATicketNames) {
  this->Fill(5, 3);
  EXPECT_GE(Overwrite(this->file, 1, 100), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(0, 100, 2));
  EXPECT_EQ(this->file.RecordCount(), 3);
}

TYPED_TEST_P(RecordFileContract, ATicketNamesItsRecordWhileThatExists) {
  this->Fill(5, 5);
  const int ticket = Append(this->file, 50);
  for (std::uint32_t value = 51; value < 55; ++value) {
    ASSERT_GE(Overwrite(this->file, ticket, value + 1000), 0);
    Append(this->file, value);
  }
  EXPECT_THAT(ReadAll(this->file), ElementsAre(1054, 51, 52, 53, 54));
}

TYPED_TEST_P(RecordFileContract, RefusesTheTicketOfARecordThatIsGone) {
  this->Fill(5, 6);
  EXPECT_LT(Overwrite(this->file, 0, 100), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(1, 2, 3, 4, 5)) << "nothing changed";
  EXPECT_GE(Overwrite(this->file, 1, 100), 0) << "the oldest that lives";
}

TYPED_TEST_P(RecordFileContract, RefusesATicketThatWasNotGivenYet) {
  this->Fill(5, 3);
  EXPECT_LT(Overwrite(this->file, 3, 100), 0);
  EXPECT_LT(Overwrite(this->file, 4, 100), 0);
  EXPECT_LT(Overwrite(this->file, 0x7FFFFFFF, 100), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(0, 1, 2));
}

TYPED_TEST_P(RecordFileContract, RefusesANegativeTicket) {
  this->Fill(5, 8);
  EXPECT_LT(Overwrite(this->file, -1, 100), 0);
  EXPECT_LT(Overwrite(this->file, -0x7FFFFFFF - 1, 100), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(3, 4, 5, 6, 7));
}

TYPED_TEST_P(RecordFileContract, AReaderReads) {
  this->Fill(5, 8);
  ASSERT_EQ(Open(this->file, this->path, 5, kReadOnly), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(3, 4, 5, 6, 7));
}

TYPED_TEST_P(RecordFileContract, AReaderChangesNothing) {
  this->Fill(5, 2);
  ASSERT_EQ(Open(this->file, this->path, 5, kReadOnly), 0);
  EXPECT_LT(Append(this->file, 9), 0);
  EXPECT_LT(Overwrite(this->file, 0, 9), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(0, 1));
  ASSERT_EQ(Open(this->file, this->path, 5, kWrite), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(0, 1));
}

TYPED_TEST_P(RecordFileContract, AReaderNeedsNotKnowTheCapacity) {
  this->Fill(5, 8);
  ASSERT_EQ(Open(this->file, this->path, 0, kReadOnly), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(3, 4, 5, 6, 7));
}

TYPED_TEST_P(RecordFileContract, KeepsRecordsAcrossReopening) {
  this->Fill(5, 8);
  Overwrite(this->file, 6, 60);
  this->file.Done();
  CDbFile again;
  ASSERT_EQ(Open(again, this->path, 5, kWrite), 0);
  EXPECT_THAT(ReadAll(again), ElementsAre(3, 4, 5, 60, 7));
}

TYPED_TEST_P(RecordFileContract, TicketsGoOnAcrossReopening) {
  this->Fill(5, 8);
  ASSERT_EQ(Open(this->file, this->path, 5, kWrite), 0);
  EXPECT_EQ(Append(this->file, 8), 8);
  EXPECT_GE(Overwrite(this->file, 5, 50), 0) << "a ticket from before";
  EXPECT_THAT(ReadAll(this->file), ElementsAre(4, 50, 6, 7, 8));
}

TYPED_TEST_P(RecordFileContract, RefusesASecondWriter) {
  this->Fill(5, 2);
  CDbFile second;
  EXPECT_LT(Open(second, this->path, 5, kWrite), 0);
  EXPECT_LT(Open(second, this->path, 5, kWrite | kCreateMissing), 0);
  EXPECT_EQ(Append(this->file, 2), 2) << "the first goes on";
  EXPECT_THAT(ReadAll(this->file), ElementsAre(0, 1, 2));
}

TYPED_TEST_P(RecordFileContract, RefusesToEmptyAFileUnderItsWriter) {
  this->Fill(5, 2);
  CDbFile second;
  EXPECT_LT(Open(second, this->path, 5, kWrite | kCreateAnew), 0);
  ASSERT_EQ(Open(this->file, this->path, 5, kWrite), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(0, 1));
}

TYPED_TEST_P(RecordFileContract, TheNextWriterComesInWhenTheFirstIsDone) {
  this->Fill(5, 2);
  this->file.Done();
  CDbFile second;
  EXPECT_EQ(Open(second, this->path, 5, kWrite), 0);
}

TYPED_TEST_P(RecordFileContract, DestructionCloses) {
  auto first = std::make_unique<CDbFile>();
  ASSERT_EQ(Open(*first, this->path, 5, kWrite | kCreateMissing), 0);
  Append(*first, 7);
  first.reset();
  ASSERT_EQ(Open(this->file, this->path, 5, kWrite), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(7));
}

TYPED_TEST_P(RecordFileContract, OpeningClosesWhatWasOpen) {
  this->Fill(5, 2);
  ASSERT_EQ(Open(this->file, this->world.NewPath(), 5, kWrite | kCreateMissing), 0);
  EXPECT_EQ(this->file.RecordCount(), 0);
  CDbFile second;
  EXPECT_EQ(Open(second, this->path, 5, kWrite), 0) << "the first path is free";
}

TYPED_TEST_P(RecordFileContract, AFailedOpenLeavesTheObjectClosed) {
  this->Fill(5, 2);
  ASSERT_LT(Open(this->file, this->world.NewPath(), 5, kReadOnly), 0);
  EXPECT_EQ(this->file.RecordCount(), 0);
  EXPECT_LT(Append(this->file, 1), 0);
}

TYPED_TEST_P(RecordFileContract, AClosedFileRefusesEverything) {
  Record record = MakeRecord(99);
  for (int round = 0; round < 2; ++round) {
    EXPECT_LT(Append(this->file, 1), 0);
    EXPECT_LT(Overwrite(this->file, 0, 1), 0);
    EXPECT_LT(this->file.ReadRecord(0, record.data()), 0);
    EXPECT_LE(this->file.ReadRecords(0, record.data(), 1), 0);
    EXPECT_EQ(this->file.RecordCount(), 0);
    this->Fill(5, 2);
    this->file.Done();  // the second round: closed after having been open
  }
  EXPECT_EQ(ValueOf(record), 99);
}

TYPED_TEST_P(RecordFileContract, DoneTwiceIsHarmless) {
  this->file.Done();
  this->Fill(5, 2);
  this->file.Done();
  this->file.Done();
  ASSERT_EQ(Open(this->file, this->path, 5, kWrite), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(0, 1));
}

TYPED_TEST_P(RecordFileContract, TellsThePathOfTheLastInit) {
  EXPECT_THAT(this->file.GetFilePath(), IsEmpty());
  this->Fill(5, 0);
  EXPECT_EQ(this->file.GetFilePath(), this->path);
  this->file.Done();
  EXPECT_EQ(this->file.GetFilePath(), this->path);
  const std::string missing = this->world.NewPath();
  ASSERT_LT(Open(this->file, missing, 5, kReadOnly), 0);
  EXPECT_EQ(this->file.GetFilePath(), missing) << "also when it failed";
}

TYPED_TEST_P(RecordFileContract, WithoutABoundNothingIsOverwritten) {
  const auto unbounded = static_cast<unsigned long>(-1);
  this->Fill(unbounded, 3000);
  EXPECT_EQ(this->file.RecordCount(), 3000);
  ASSERT_EQ(Open(this->file, this->path, unbounded, kWrite), 0);
  EXPECT_EQ(Append(this->file, 3000), 3000);
  EXPECT_GE(Overwrite(this->file, 0, 77), 0);
  const std::vector<std::uint32_t> values = ReadMany(this->file, 0, 4000);
  ASSERT_THAT(values, SizeIs(3001));
  EXPECT_EQ(values.front(), 77);
  EXPECT_EQ(values.back(), 3000);
}

TYPED_TEST_P(RecordFileContract, OpeningForFewerRecordsKeepsTheNewest) {
  this->Fill(5, 8);
  ASSERT_EQ(Open(this->file, this->path, 3, kWrite), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(5, 6, 7));
  EXPECT_EQ(Append(this->file, 8), 8);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(6, 7, 8));
}

TYPED_TEST_P(RecordFileContract, OpeningForMoreRecordsKeepsAllAndTakesMore) {
  this->Fill(3, 8);
  ASSERT_EQ(Open(this->file, this->path, 5, kWrite | kCreateMissing), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(5, 6, 7));
  for (std::uint32_t value = 8; value < 11; ++value) Append(this->file, value);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(6, 7, 8, 9, 10));
}

TYPED_TEST_P(RecordFileContract, TicketsSurviveAnotherCapacity) {
  this->Fill(5, 8);
  for (const unsigned long capacity : {9UL, 2UL}) {
    ASSERT_EQ(Open(this->file, this->path, capacity, kWrite), 0);
    EXPECT_GE(Overwrite(this->file, 7, 70), 0);
    EXPECT_LT(Overwrite(this->file, 2, 20), 0);
    EXPECT_LT(Overwrite(this->file, 8, 80), 0);
  }
  EXPECT_THAT(ReadAll(this->file), ElementsAre(6, 70));
}

TYPED_TEST_P(RecordFileContract, AReadersCapacityChangesNothing) {
  this->Fill(5, 8);
  ASSERT_EQ(Open(this->file, this->path, 2, kReadOnly), 0);
  EXPECT_THAT(ReadAll(this->file), ElementsAre(3, 4, 5, 6, 7));
}

TYPED_TEST_P(RecordFileContract, AReaderComesInBesideAWriter) {
  this->Fill(5, 3);
  CDbFile reader;
  ASSERT_EQ(Open(reader, this->path, 5, kReadOnly), 0);
  EXPECT_THAT(ReadAll(reader), ElementsAre(0, 1, 2));
  EXPECT_EQ(Append(this->file, 3), 3) << "and does not disturb it";
}

TYPED_TEST_P(RecordFileContract, AReaderSeesWhatWasThereWhenItLastCounted) {
  this->Fill(10, 3);
  CDbFile reader;
  ASSERT_EQ(Open(reader, this->path, 10, kReadOnly), 0);
  for (std::uint32_t value = 3; value < 5; ++value) {
    ASSERT_GE(Append(this->file, value), 0);
    EXPECT_THAT(ReadMany(reader, 0, 10), ElementsAre(0, 1, 2)) << "frozen since it was opened";
  }
  Record record = MakeRecord(99);
  EXPECT_LT(reader.ReadRecord(3, record.data()), 0);
  EXPECT_EQ(reader.RecordCount(), 5);
  ASSERT_GE(Append(this->file, 5), 0);
  EXPECT_THAT(ReadMany(reader, 0, 10), ElementsAre(0, 1, 2, 3, 4));
}

TYPED_TEST_P(RecordFileContract, AReadersPositionsStandStillWhileAFullFileTurns) {
  this->Fill(5, 5);
  CDbFile reader;
  ASSERT_EQ(Open(reader, this->path, 5, kReadOnly), 0);
  ASSERT_EQ(reader.RecordCount(), 5);
  for (std::uint32_t value = 5; value < 8; ++value) ASSERT_GE(Append(this->file, value), 0);
  EXPECT_THAT(ReadMany(reader, 3, 5), ElementsAre(3, 4)) << "the writer has 3 at position 0";
  EXPECT_EQ(reader.RecordCount(), 5);
  EXPECT_THAT(ReadMany(reader, 0, 5), ElementsAre(3, 4, 5, 6, 7));
}

REGISTER_TYPED_TEST_SUITE_P(
    RecordFileContract, AFreshFileIsEmpty, WritingAloneDoesNotCreate, ReadingDoesNotCreate,
    AMissingFileIsNotOneOfAnotherFormat, CreateMissingKeepsWhatIsThere,
    CreateAnewEmptiesWhatIsThere, CreateAnewCreatesAMissingFile, CreateAnewReplacesAnotherFormat,
    CreationNeedsRoomForRecords, CreationWithoutRoomKeepsWhatIsThere, AnotherMagicIsAnotherFormat,
    TheBeginningOfAMagicIsAnotherFormat, AnotherRecordSizeIsAnotherFormat,
    AFileOfAnotherFormatIsLeftAlone, TicketsCountFromZero, ReadsWhatWasAppended,
    AFullFileKeepsTheNewest, AFileOfOneRecordKeepsTheNewest, ReadsManyAtOnceWhereverTheRingWraps,
    ReadsFewerOnlyAtTheEnd, ReadsNothingBeyondTheEnd, RefusesANegativePosition,
    ReadsNothingForACountThatIsNotPositive, AnEmptyFileHasNothingToRead,
    OverwritesTheRecordThatATicketNames, ATicketNamesItsRecordWhileThatExists,
    RefusesTheTicketOfARecordThatIsGone, RefusesATicketThatWasNotGivenYet, RefusesANegativeTicket,
    AReaderReads, AReaderChangesNothing, AReaderNeedsNotKnowTheCapacity,
    KeepsRecordsAcrossReopening, TicketsGoOnAcrossReopening, RefusesASecondWriter,
    RefusesToEmptyAFileUnderItsWriter, TheNextWriterComesInWhenTheFirstIsDone, DestructionCloses,
    OpeningClosesWhatWasOpen, AFailedOpenLeavesTheObjectClosed, AClosedFileRefusesEverything,
    DoneTwiceIsHarmless, TellsThePathOfTheLastInit, WithoutABoundNothingIsOverwritten,
    OpeningForFewerRecordsKeepsTheNewest, OpeningForMoreRecordsKeepsAllAndTakesMore,
    TicketsSurviveAnotherCapacity, AReadersCapacityChangesNothing, AReaderComesInBesideAWriter,
    AReaderSeesWhatWasThereWhenItLastCounted, AReadersPositionsStandStillWhileAFullFileTurns);

}  // namespace packetdb::contract
