// What an open file says about itself, before anything of it is used.
#include "host/record_file/inspect.h"

#include <filesystem>
#include <gmock/gmock.h>

#include "host/record_file/open.h"
#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

class InspectTest : public testing::Test {
 protected:
  InspectTest() { EXPECT_EQ(OpenUnlocked(path_, Access::kRead, &file_), kRecordFileOk); }

  RecordFileResult DespiteLength() { return InspectDespiteLength(file_, &facts_); }

  Disk disk_;
  std::string path_ = MakeJournal(disk_, 5, 3);
  std::uint64_t length_ = std::filesystem::file_size(path_);
  Descriptor file_;
  FileFacts facts_;
};

TEST_F(InspectTest, TellsWhatTheFileIs) {
  ASSERT_EQ(Inspect(file_, &facts_), kRecordFileOk);
  EXPECT_EQ(facts_.format.magic, kTestMagic);
  EXPECT_EQ(facts_.format.record_size, kTestRecordSize);
  EXPECT_EQ(facts_.format.capacity, 3U);
  EXPECT_EQ(facts_.layout_version, kLayoutVersion);
  EXPECT_EQ(facts_.length, length_);
  EXPECT_EQ(facts_.state.next, 5U);
  EXPECT_TRUE(facts_.has_both_superblocks);
}

TEST_F(InspectTest, TellsThatASuperblockIsDamaged) {
  for (const std::uint64_t page : {kSuperblockAOffset, kSuperblockBOffset}) {
    FlipByte(path_, page + 100);
    ASSERT_EQ(Inspect(file_, &facts_), kRecordFileOk);
    EXPECT_FALSE(facts_.has_both_superblocks);
    EXPECT_EQ(facts_.format.magic, kTestMagic) << "from the other";
    FlipByte(path_, page + 100);
  }
}

TEST_F(InspectTest, LeavesTheFactsAloneWhenItFails) {
  std::filesystem::resize_file(path_, length_ - 1);
  EXPECT_EQ(Inspect(file_, &facts_), kTruncatedFile);
  EXPECT_EQ(facts_.length, 0U);
}

TEST_F(InspectTest, TakesAFileOfAnyLengthWhenAsked) {
  for (const std::uint64_t length : {length_ - 1, 3 * kPageSize, kPageSize, 2 * length_}) {
    std::filesystem::resize_file(path_, length);
    ASSERT_EQ(DespiteLength(), kRecordFileOk) << length;
    EXPECT_EQ(facts_.length, length);
    EXPECT_EQ(facts_.geometry.slot_count, facts_.superblock.slot_count) << "of the whole file";
  }
}

TEST_F(InspectTest, TakesAFileWithoutABoundThatLostItsCells) {
  const std::string path = MakeJournal(disk_, 5, kNoBound);
  ASSERT_EQ(OpenUnlocked(path, Access::kRead, &file_), kRecordFileOk);
  std::filesystem::resize_file(path, kPageSize);
  ASSERT_EQ(DespiteLength(), kRecordFileOk);
  EXPECT_EQ(facts_.geometry.slot_count, 0U);
}

TEST_F(InspectTest, TakesNothingElseThanWrongLengths) {
  std::filesystem::resize_file(path_, 100);
  EXPECT_EQ(DespiteLength(), kTruncatedFile) << "no superblock is left";
  std::filesystem::resize_file(path_, 0);
  EXPECT_EQ(DespiteLength(), kEmptyFile);
}

TEST_F(InspectTest, FindsTheWriterWithoutTakingItsPlace) {
  bool is_there = true;
  ASSERT_EQ(FindWriter(file_, &is_there), kRecordFileOk);
  EXPECT_FALSE(is_there);
  CDbFile writer;
  ASSERT_EQ(Open(writer, path_, kModeWrite), kRecordFileOk);
  ASSERT_EQ(FindWriter(file_, &is_there), kRecordFileOk);
  EXPECT_TRUE(is_there);
}

TEST_F(InspectTest, FailsOnWhatIsNotOpen) {
  bool is_there = true;
  EXPECT_LT(Inspect(Descriptor(), &facts_), 0);
  EXPECT_LT(FindWriter(Descriptor(), &is_there), 0);
  EXPECT_TRUE(is_there) << "untouched";
}

}  // namespace
}  // namespace packetdb::host
