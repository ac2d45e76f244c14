// A conversion that died after it removed the old journal and before it renamed the new one.
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "host/record_file/descriptor.h"
#include "host/record_file/open.h"
#include "tests/host/record_file/child.h"
#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RecordFileAdopt : public testing::Test {
 protected:
  // A complete file of two records under the name of a conversion's result.
  void LeaveConverted() { std::filesystem::rename(MakeJournal(disk_, 2), converted_); }

  void ExpectNotAdopted() {
    ASSERT_EQ(Open(file_, path_, kModeMissing), kRecordFileOk);
    EXPECT_THAT(Values(file_), IsEmpty());
    EXPECT_TRUE(std::filesystem::exists(converted_)) << "left for somebody to look at";
  }

  Disk disk_;
  CDbFile file_;
  std::string path_ = disk_.folder() + "/adopting";
  std::string converted_ = path_ + ".~tmp";
};

TEST_F(RecordFileAdopt, TakesACompleteFileWhereThereIsNone) {
  LeaveConverted();
  ASSERT_EQ(Open(file_, path_, kModeMissing), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2));
  EXPECT_EQ(Append(file_, 3), 2) << "as its writer";
  file_.Done();
  EXPECT_FALSE(std::filesystem::exists(converted_));
  EXPECT_THAT(Reopen(path_).values, ElementsAre(1, 2, 3));
}

TEST_F(RecordFileAdopt, LocksWhatItTakes) {
  LeaveConverted();
  ASSERT_EQ(Open(file_, path_, kModeMissing), kRecordFileOk);
  CDbFile second;
  EXPECT_EQ(Open(second, path_, kModeWrite), kInUse);
}

TEST_F(RecordFileAdopt, OnlyAWriterThatMayCreateTakesIt) {
  LeaveConverted();
  EXPECT_EQ(Open(file_, path_, kModeRead), kMissing);
  EXPECT_EQ(Open(file_, path_, kModeWrite), kMissing);
  EXPECT_TRUE(std::filesystem::exists(converted_));
}

TEST_F(RecordFileAdopt, WhoWantsANewFileGetsOne) {
  LeaveConverted();
  ASSERT_EQ(Open(file_, path_, kModeAnew), kRecordFileOk);
  EXPECT_THAT(Values(file_), IsEmpty());
}

TEST_F(RecordFileAdopt, LeavesAFileOfAnotherMagic) {
  CDbFile other;
  ASSERT_EQ(other.Init(converted_, "Another", kTestRecordSize, 3, kModeMissing), kRecordFileOk);
  other.Done();
  ExpectNotAdopted();
}

TEST_F(RecordFileAdopt, LeavesAFileOfAnotherRecordSize) {
  CDbFile other;
  ASSERT_EQ(other.Init(converted_, kTestMagic, 64, 3, kModeMissing), kRecordFileOk);
  other.Done();
  ExpectNotAdopted();
}

TEST_F(RecordFileAdopt, LeavesAFileThatWasNotClosed) {
  CDbFile writer;
  const std::string source = MakeJournal(disk_, 2);
  ASSERT_EQ(Open(writer, source, kModeWrite), kRecordFileOk);
  Append(writer, 3);
  CopyAsKilled(source, converted_);
  chmod(converted_.c_str(), 0640);
  ExpectNotAdopted();
}

TEST_F(RecordFileAdopt, LeavesWhatIsNoRecordFile) {
  WriteBytes(converted_, Bytes(100, 'x'));
  ExpectNotAdopted();
}

TEST_F(RecordFileAdopt, WaitsForAConversionThatIsUnderWay) {
  LeaveConverted();
  Descriptor converting;
  ASSERT_EQ(OpenLocked(converted_, Access::kWrite, &converting), kRecordFileOk);
  EXPECT_EQ(Open(file_, path_, kModeMissing), kInUse);
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(RecordFileAdopt, TakesNothingFromAFolderThatOthersWriteTo) {
  LeaveConverted();
  ASSERT_EQ(chmod(disk_.folder().c_str(), 0777), 0);
  ExpectNotAdopted();
}

TEST_F(RecordFileAdopt, TakesNothingThatOthersMayWriteTo) {
  LeaveConverted();
  ASSERT_EQ(chmod(converted_.c_str(), 0666), 0);
  ExpectNotAdopted();
}

TEST_F(RecordFileAdopt, DoesNotFollowALink) {
  std::filesystem::create_symlink(MakeJournal(disk_, 2), converted_);
  ExpectNotAdopted();
}

}  // namespace
}  // namespace packetdb::host
