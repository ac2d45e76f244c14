// What the operator is told, line by line.
#include <filesystem>
#include <gmock/gmock.h>

#include "host/record_file/settings.h"
#include "tests/host/record_file/geometries.h"
#include "tests/host/record_file/system_log.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RecordFileLog : public testing::Test {
 protected:
  RecordFileLog() { TakeLogged(); }

  void OpenForFive(int mode) { ASSERT_EQ(Open(file_, path_, mode, 5), kRecordFileOk); }

  Disk disk_;
  CDbFile file_;
  std::string path_ = MakeJournal(disk_, 5, 5);
};

TEST_F(RecordFileLog, IsSilentAboutWhatIsAsItShouldBe) {
  OpenForFive(kModeWrite);
  Append(file_, 6);
  file_.Done();
  OpenForFive(kModeRead);
  EXPECT_THAT(TakeLogged(), IsEmpty());
}

TEST_F(RecordFileLog, NamesEachRecordThatIsFoundDamaged) {
  DamageRecord(path_, 1);
  DamageRecord(path_, 3);
  OpenForFive(kModeWrite);
  TestRecord record;
  file_.ReadRecord(1, record.data());
  file_.RecordCount();
  EXPECT_THAT(TakeLogged(), ElementsAre("3 " + path_ + ": record 1 at byte 12368 is damaged",
                                        "3 " + path_ + ": record 3 at byte 12528 is damaged"));
}

TEST_F(RecordFileLog, NamesThreeOfThemAndCountsTheRest) {
  for (std::uint64_t sequence = 0; sequence < 4; ++sequence) DamageRecord(path_, sequence);
  OpenForFive(kModeWrite);
  TestRecord record;
  file_.ReadRecord(0, record.data());
  file_.RecordCount();
  const std::vector<std::string> lines = TakeLogged();
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[3], "3 " + path_ + ": 1 record more found damaged; packetdb check tells where");
}

TEST_F(RecordFileLog, AReaderTellsNobody) {
  DamageRecord(path_, 1);
  OpenForFive(kModeRead);
  TestRecord record;
  file_.ReadRecord(1, record.data());
  file_.RecordCount();
  EXPECT_THAT(TakeLogged(), IsEmpty());
}

TEST_F(RecordFileLog, CountsWhatAPowerCutTook) {
  OpenForFive(kModeWrite);
  Append(file_, 6);
  Append(file_, 7);
  const std::string cut = disk_.NewPath();
  CopyAsKilled(path_, cut);
  file_.Done();
  MoveToOtherBoot(cut);
  DamageRecord(cut, 3);
  DamageRecord(cut, 5);
  path_ = cut;
  OpenForFive(kModeWrite);
  EXPECT_THAT(
      TakeLogged(),
      ElementsAre(
          "3 " + cut + ": 1 record found damaged; packetdb check tells where",
          "4 " + cut + ": 1 record not flushed to the disk before the machine stopped, and lost"));
}

TEST_F(RecordFileLog, CountsInThePlural) {
  DamageRecord(path_, 1);
  DamageRecord(path_, 2);
  const ThoroughOpening thorough;
  OpenForFive(kModeWrite);
  EXPECT_THAT(TakeLogged(),
              ElementsAre("3 " + path_ + ": 2 records found damaged; packetdb check tells where"));
}

TEST_F(RecordFileLog, TellsOfASuperblockThatIsMadeAnew) {
  FlipByte(path_, 100);
  OpenForFive(kModeWrite);
  EXPECT_THAT(
      TakeLogged(),
      ElementsAre("4 " + path_ + ": one of the two superblocks was damaged and is made anew"));
}

TEST_F(RecordFileLog, TellsOfACapacityThatStays) {
  std::filesystem::create_directory(path_ + ".~new");
  ASSERT_EQ(Open(file_, path_, kModeWrite, 9), kRecordFileOk);
  EXPECT_THAT(TakeLogged(),
              ElementsAre("4 " + path_ + ": still keeps 5 records, not 9: it is a directory"));
}

TEST_F(RecordFileLog, TellsWhereAFileWasTakenFrom) {
  std::filesystem::rename(path_, path_ + ".~tmp");
  OpenForFive(kModeMissing);
  EXPECT_THAT(TakeLogged(), ElementsAre("4 " + path_ + ": taken from " + path_ +
                                        ".~tmp, where a conversion left it"));
}

TEST_F(RecordFileLog, TellsOfAFileThatWasCut) {
  OpenForFive(kModeWrite);
  Append(file_, 6);
  std::filesystem::resize_file(path_, kPageSize);
  EXPECT_EQ(Append(file_, 7), kFileLost);
  file_.Done();
  EXPECT_THAT(
      TakeLogged(),
      ElementsAre("3 " + path_ + ": the file was cut or could not be read while it was open"));
}

}  // namespace
}  // namespace packetdb::host
