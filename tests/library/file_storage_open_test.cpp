// The life of a file storage: opening, closing, what it passes on.
#include <unistd.h>

#include "packetdb/storage_iter.h"
#include "platform/record_file.h"
#include "tests/support/allocation.h"
#include "tests/support/fixture.h"
#include "tests/support/slots.h"

namespace packetdb::test {
namespace {

class FileStorageOpen : public LibraryTest {
 protected:
  int Open(int capacity = 1000, int mode = 5, time_t window = 60) {
    return storage_.Init(kJournalPath, capacity, mode, window);
  }

  DbFileStorage storage_;
};

TEST_F(FileStorageOpen, NewStorageHasAFileObjectThatIsNotOpen) {
  EXPECT_EQ(CallsOf([] { const DbFileStorage storage; }), (Strings{"CDbFile()", "~CDbFile()"}));
  EXPECT_EQ(storage_.getTimeDiff(), 0);
  EXPECT_EQ(storage_.RecordCount(), 0);
}

TEST_F(FileStorageOpen, ExhaustedMemoryForTheFileObjectLeavesNothingBehind) {
  const auto before = AllocationsAlive();
  const FailAllocationsOf no_files(sizeof(CDbFile));
  EXPECT_THROW(DbFileStorage(), std::bad_alloc);
  EXPECT_EQ(AllocationsAlive(), before);
}

TEST_F(FileStorageOpen, DestructorDoesNotClose) {
  EXPECT_EQ(
      CallsOf([] {
        DbFileStorage storage;
        storage.Init("/other", 10, 5, 0);
      }),
      (Strings{"CDbFile()", "Init(/other, Zolrak-Packet-Database-4, 72, 10, 5)", "~CDbFile()"}));
}

TEST_F(FileStorageOpen, OpensARecordFileOfFormatFour) {
  Clock().Set(1);
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(Open(), 0); }),
            Strings{"Init(/journal, Zolrak-Packet-Database-4, 72, 1000, 5)"});
}

TEST_F(FileStorageOpen, PassesTheModeOn) {
  Files().Put(kJournalPath, kMagic4, 72, {});
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(Open(7, 0), 0); }),
            Strings{"Init(/journal, Zolrak-Packet-Database-4, 72, 7, 0)"});
}

TEST_F(FileStorageOpen, NegativeCapacityIsWidenedWithItsSign) {
  EXPECT_EQ(CallsOf([&] { Open(-1); }),
            Strings{"Init(/journal, Zolrak-Packet-Database-4, 72, 18446744073709551615, 5)"});
}

TEST_F(FileStorageOpen, PositiveResultOfTheFileIsSuccess) {
  Calls().Script("Init", {7});
  EXPECT_EQ(Open(), 0);
}

TEST_F(FileStorageOpen, PassesEveryFailureOfTheFileThrough) {
  for (const int code : {-1, -2, -5, -7, -16, -1000}) {
    Calls().Script("Init", {code});
    Calls().Forget();
    EXPECT_EQ(Open(), code);
    EXPECT_EQ(Calls().CountOf("Init"), 1);
  }
}

TEST_F(FileStorageOpen, RefusesAFileOfAnUnknownFormat) {
  Files().Put(kJournalPath, "Something-Else", 24, {std::string(24, 'x')});
  EXPECT_EQ(Open(), -6);
  EXPECT_EQ(Files().Find(kJournalPath)->records.size(), 1u);
}

TEST_F(FileStorageOpen, KeepsTheWindowEvenWhenTheFileFails) {
  Calls().Script("Init", {-13});
  Open(1000, 5, 86400);
  EXPECT_EQ(storage_.getTimeDiff(), 86400);
}

TEST_F(FileStorageOpen, KeepsTheCapacityForRepeatsEvenWhenTheFileFails) {
  Calls().Script("Init", {-13});
  Open(1000, 5, 60);
  Clock().SetSince1980(100);
  const Event event = EventAt(100);
  EXPECT_EQ(CallsOf([&] {
              for (int i = 0; i < 2; ++i) storage_.AddRecord(&event, 0, "");
            }),
            (Strings{"time()", "AppendRecord()", "time()",
                     "WriteRecord(" + std::to_string(kFileClosed) + ")"}));
}

TEST_F(FileStorageOpen, KeepsTheWindowOfTheLastInit) {
  Open(1000, 5, 60);
  Open(1000, 5, -5);
  EXPECT_EQ(storage_.getTimeDiff(), -5);
}

TEST_F(FileStorageOpen, DoneClosesTheFile) {
  Open();
  EXPECT_EQ(CallsOf([&] { storage_.Done(); }), Strings{"Done()"});
  EXPECT_EQ(storage_.RecordCount(), 0);
}

TEST_F(FileStorageOpen, DoneForgetsAllRepeats) {
  Clock().SetSince1980(100);
  Open();
  const Event event = EventAt(100);
  storage_.AddRecord(&event, 0, "");
  storage_.Done();
  Open();
  EXPECT_EQ(CallsOf([&] { storage_.AddRecord(&event, 0, ""); }),
            (Strings{"time()", "AppendRecord()"}));
}

TEST_F(FileStorageOpen, ReopenedWithoutDoneStillKnowsItsRepeats) {
  Clock().SetSince1980(100);
  Open();
  const Event event = EventAt(100);
  storage_.AddRecord(&event, 0, "");
  Open();
  EXPECT_EQ(CallsOf([&] { storage_.AddRecord(&event, 0, ""); }),
            (Strings{"time()", "WriteRecord(0)"}));
}

TEST_F(FileStorageOpen, NameIsThatOfTheFile) {
  EXPECT_EQ(storage_.GetFileName(), "");
  Open();
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(storage_.GetFileName(), "/journal"); }),
            Strings{"GetFilePath()"});
}

TEST_F(FileStorageOpen, CountIsThatOfTheFile) {
  Open();
  const Event event = EventAt(1);
  storage_.AddRecord(&event, 0, "");
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(storage_.RecordCount(), 1); }), Strings{"RecordCount()"});
}

TEST_F(FileStorageOpen, LogsTheArguments) {
  Log().SetLevel(5);
  Calls().Script("Init", {-13});
  Open(1000, 5, 60);
  EXPECT_EQ(Log().Texts(5), Strings{"fname /journal, max number of records 1000, timediff = 60"});
}

TEST_F(FileStorageOpen, LogsTheSuccess) {
  Files().Put(kJournalPath, kMagic4, 72, {std::string(72, '\0'), std::string(72, '\0')});
  Log().SetLevel(5);
  Open(-3, 5, -60);
  EXPECT_EQ(Log().Texts(5),
            (Strings{"fname /journal, max number of records -3, timediff = -60",
                     "Packet DB V4 initialized (records=2) for pid " + std::to_string(getpid())}));
}

TEST_F(FileStorageOpen, AsksForLoggedFiguresOnlyWhenLogging) {
  Clock().Set(1);
  Log().SetLevel(4);
  EXPECT_EQ(CallsOf([&] { Open(); }).size(), 1u);
  EXPECT_TRUE(Log().Attempts().empty());
  Log().SetLevel(5);
  Strings calls = CallsOf([&] { Open(); });
  EXPECT_EQ(calls.front(), "Init(/journal, Zolrak-Packet-Database-4, 72, 1000, 5)");
  EXPECT_THAT(calls, ::testing::UnorderedElementsAre(calls.front(), "RecordCount()", "getpid()"));
}

TEST_F(FileStorageOpen, MembersStandInTheirOrder) {
  Open(1000, 5, 86400);
  const std::size_t window_offset = sizeof(void*) + sizeof(DrvErrorItemsIndex);
  EXPECT_EQ(Peek<time_t>(&storage_, window_offset), 86400);
  EXPECT_NE(Peek<void*>(&storage_, window_offset + sizeof(time_t)), nullptr);
  EXPECT_EQ(sizeof(DbFileStorage), window_offset + sizeof(time_t) + sizeof(void*));
}

}  // namespace
}  // namespace packetdb::test
