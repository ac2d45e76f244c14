// New files made of what is whole in damaged ones.
#include "host/record_file/rescue.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <numeric>
#include <random>

#include "host/record_file/open.h"
#include "tests/host/record_file/checked.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RescueTest : public testing::Test {
 protected:
  RescueTest() {
    request_.known = {{.magic = kTestMagic, .record_size = 72},
                      {.magic = kTestMagic, .record_size = 64},
                      {.magic = "Third", .record_size = 60}};
  }

  void Use(const std::string& path) {
    path_ = path;
    bytes_ = ReadBytes(path);
  }
  void Wipe(std::uint64_t begin, std::uint64_t end) {
    std::fill(bytes_.begin() + static_cast<std::ptrdiff_t>(begin),
              bytes_.begin() + static_cast<std::ptrdiff_t>(end), '\0');
  }
  // Rescues the bytes; the result is sound and the source untouched.
  Rescued RunIt() {
    WriteBytes(path_, bytes_);
    saved_ = disk_.NewPath();
    Descriptor file;
    EXPECT_EQ(OpenUnlocked(path_, Access::kRead, &file), kRecordFileOk);
    Rescued rescued;
    EXPECT_EQ(Rescue(file, request_, saved_, &rescued), kRecordFileOk);
    EXPECT_EQ(ReadBytes(path_), bytes_);
    if (rescued.written != 0) {
      EXPECT_THAT(FindingsIn(saved_), IsEmpty());
    }
    return rescued;
  }
  std::vector<std::uint64_t> SavedValues() {
    CDbFile file;
    EXPECT_EQ(Open(file, saved_, kModeRead), kRecordFileOk);
    return Values(file);
  }

  Disk disk_;
  std::string path_;
  Bytes bytes_;
  std::string saved_;
  RescueRequest request_;
};

TEST_F(RescueTest, ASoundFileGivesAllItsRecords) {
  Use(MakeJournal(disk_, 5, 100));
  const Rescued rescued = RunIt();
  EXPECT_EQ(rescued.written, 5U);
  EXPECT_EQ(rescued.first, 0U);
  EXPECT_EQ(rescued.last, 4U);
  EXPECT_EQ(rescued.damaged, 0U);
  EXPECT_EQ(rescued.slots, rescued.empty + 5);
  EXPECT_TRUE(rescued.is_capacity_known);
  EXPECT_FALSE(rescued.is_seed_computed);
  EXPECT_EQ(rescued.format.capacity, 100U);
  EXPECT_EQ(rescued.format.magic, kTestMagic);
  EXPECT_THAT(SavedValues(), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(RescueTest, SuperblocksThatAreSlightlyDamagedTellTheRest) {
  Use(MakeJournal(disk_, 5, 100));
  bytes_[200] = bytes_[kPageSize + 200] = 'x';
  const Rescued rescued = RunIt();
  EXPECT_FALSE(rescued.is_seed_computed);
  EXPECT_EQ(rescued.format.capacity, 100U);
  EXPECT_THAT(SavedValues(), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(RescueTest, NothingButTheFramesIsNeeded) {
  Use(MakeJournal(disk_, 500, 1000));
  Wipe(0, kCellsOffset);
  const Rescued rescued = RunIt();
  EXPECT_TRUE(rescued.is_seed_computed);
  EXPECT_FALSE(rescued.is_capacity_known);
  EXPECT_EQ(rescued.format.capacity, rescued.slots);
  EXPECT_EQ(rescued.written, 500U);
  std::vector<std::uint64_t> all(500);
  std::iota(all.begin(), all.end(), 1U);
  EXPECT_EQ(SavedValues(), all);
}

TEST_F(RescueTest, GarbageAtTheFrontIsNotBelieved) {
  Use(MakeJournal(disk_, 50, 1000));
  std::mt19937 random(5);
  for (std::size_t i = 0; i < kCellsOffset; ++i) bytes_[i] = static_cast<char>(random());
  EXPECT_EQ(RunIt().written, 50U);
}

TEST_F(RescueTest, EveryRecordSizeIsFoundOut) {
  const std::pair<std::size_t, std::string> sizes[] = {
      {72, kTestMagic}, {64, kTestMagic}, {60, "Third"}};
  for (const auto& [size, magic] : sizes) {
    const std::string path = disk_.NewPath();
    CDbFile file;
    ASSERT_EQ(file.Init(path, "any", size, 100, kModeAnew), kRecordFileOk);
    for (int i = 0; i < 30; ++i) file.AppendRecord(Bytes(size, static_cast<char>('a' + i)).data());
    file.Done();
    Use(path);
    Wipe(0, kCellsOffset);
    const Rescued rescued = RunIt();
    EXPECT_EQ(rescued.format.record_size, size);
    EXPECT_EQ(rescued.format.magic, magic);
    EXPECT_EQ(rescued.written, 30U);
  }
}

TEST_F(RescueTest, ARecordSizeThatNobodyKnowsCanBeGiven) {
  const std::string path = disk_.NewPath();
  CDbFile file;
  ASSERT_EQ(file.Init(path, "any", 100, 100, kModeAnew), kRecordFileOk);
  for (int i = 0; i < 30; ++i) file.AppendRecord(Bytes(100, static_cast<char>('a' + i)).data());
  file.Done();
  Use(path);
  Wipe(0, kCellsOffset);
  EXPECT_EQ(RunIt().written, 0U);
  EXPECT_FALSE(std::filesystem::exists(saved_));
  request_.record_size = 100;
  EXPECT_EQ(RunIt().written, 30U);
}

TEST_F(RescueTest, ASeedThatIsGivenIsTheOnlyOne) {
  Use(MakeJournal(disk_, 1, 100));
  std::uint32_t seed = 0;
  std::memcpy(&seed, SuperblockOf(bytes_).file_id.data(), sizeof seed);
  Wipe(0, kCellsOffset);
  EXPECT_EQ(RunIt().written, 0U) << "one frame alone could have any seed";
  request_.seed = seed;
  EXPECT_EQ(RunIt().written, 1U);
  request_.seed = seed + 1;
  EXPECT_EQ(RunIt().written, 0U);
}

TEST_F(RescueTest, HighHalvesOfNumbersAreThoseOfTheStatePage) {
  constexpr std::uint64_t kFirst = (std::uint64_t{5} << 32U) - 3;
  const std::string path = MakeJournal(disk_, 0, 100);
  StartAt(path, kFirst);
  CDbFile file;
  ASSERT_EQ(Open(file, path, kModeWrite, 100), kRecordFileOk);
  for (std::uint64_t value = 1; value <= 6; ++value) Append(file, value);
  file.Done();
  Use(path);
  const Bytes sound = bytes_;
  Wipe(0, kStateOffset);
  const Rescued rescued = RunIt();
  EXPECT_EQ(rescued.first, kFirst);
  EXPECT_EQ(rescued.last, kFirst + 5);
  EXPECT_THAT(SavedValues(), ElementsAre(1, 2, 3, 4, 5, 6));
  bytes_ = sound;
  Wipe(kStateOffset, kCellsOffset);
  EXPECT_EQ(RunIt().first, kFirst) << "or those that the superblocks begin with";
  Wipe(0, kCellsOffset);
  request_.near = kFirst;
  EXPECT_EQ(RunIt().first, kFirst) << "or that are given";
  EXPECT_THAT(SavedValues(), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(RescueTest, DamagedRecordsAreLeftOutAndCounted) {
  Use(MakeJournal(disk_, 10, 100));
  bytes_[OffsetIn(path_, 3)] = 'x';
  bytes_[OffsetIn(path_, 7)] = 'x';
  const Rescued rescued = RunIt();
  EXPECT_EQ(rescued.damaged, 2U);
  EXPECT_EQ(rescued.missing, 2U);
  EXPECT_EQ(rescued.written, 8U);
  EXPECT_THAT(SavedValues(), ElementsAre(1, 2, 3, 5, 6, 7, 9, 10));
}

TEST_F(RescueTest, RecordsThatNewerOnesHadReplacedAreLeftOut) {
  Use(MakeJournal(disk_, 20, 3));
  const Rescued rescued = RunIt();
  EXPECT_EQ(rescued.older, 17U);
  EXPECT_THAT(SavedValues(), ElementsAre(18, 19, 20));
}

TEST_F(RescueTest, ARecordThatIsThereTwiceIsWrittenOnce) {
  Use(MakeJournal(disk_, 5, 100));
  std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(OffsetIn(path_, 2)), 80,
              bytes_.begin() + static_cast<std::ptrdiff_t>(OffsetIn(path_, 50)));
  const Rescued rescued = RunIt();
  EXPECT_EQ(rescued.repeated, 1U);
  EXPECT_THAT(SavedValues(), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(RescueTest, ARecordThatWasBeingOverwrittenIsTakenFromTheRedoSector) {
  const std::string path = MakeJournal(disk_, 5, 100);
  CDbFile file;
  ASSERT_EQ(Open(file, path, kModeWrite, 100), kRecordFileOk);
  Overwrite(file, 2, 77);
  file.Done();
  Use(path);
  bytes_[OffsetIn(path_, 2)] = 'x';
  EXPECT_EQ(RunIt().missing, 0U);
  EXPECT_THAT(SavedValues(), ElementsAre(1, 2, 77, 4, 5));
  Use(path);
  RunIt();
  EXPECT_THAT(SavedValues(), ElementsAre(1, 2, 77, 4, 5));
}

TEST_F(RescueTest, AFileWithoutABoundGivesOneWithout) {
  constexpr std::uint64_t kCount = 13000;  // more than it begins with room for
  Use(MakeJournal(disk_, kCount, kNoBound));
  const Rescued rescued = RunIt();
  EXPECT_EQ(rescued.format.capacity, 0U);
  EXPECT_EQ(rescued.written, kCount);
}

TEST_F(RescueTest, ATruncatedFileGivesWhatItStillHas) {
  Use(MakeJournal(disk_, 10, 100));
  bytes_.resize(kCellsOffset + kCellSize + 2 * 80 + 30);
  EXPECT_EQ(RunIt().written, 8U);
  EXPECT_THAT(SavedValues(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  bytes_.resize(kCellsOffset);
  EXPECT_EQ(RunIt().written, 0U);
}

TEST_F(RescueTest, WhatHasNoFramesGivesNothing) {
  Use(MakeJournal(disk_, 0, 100));
  EXPECT_EQ(RunIt().written, 0U);
  bytes_ = Bytes(100000, 'x');
  EXPECT_EQ(RunIt().written, 0U);
  bytes_ = {};
  EXPECT_EQ(RunIt().written, 0U);
  EXPECT_FALSE(std::filesystem::exists(saved_));
}

TEST_F(RescueTest, NothingIsReplacedAndNothingLeftBehind) {
  Use(MakeJournal(disk_, 3, 100));
  const std::string taken = MakeJournal(disk_, 2, 100);
  const Bytes before = ReadBytes(taken);
  const std::vector<std::string> names = disk_.Names();
  Descriptor file;
  ASSERT_EQ(OpenUnlocked(path_, Access::kRead, &file), kRecordFileOk);
  Rescued rescued;
  EXPECT_EQ(Rescue(file, request_, taken, &rescued), kUnsettled);
  EXPECT_EQ(ReadBytes(taken), before);
  EXPECT_EQ(Rescue(file, request_, disk_.folder() + "/no/such", &rescued), kMissing);
  EXPECT_EQ(disk_.Names(), names);
}

TEST_F(RescueTest, AFileThatCannotBeReadGivesNothing) {
  const Descriptor folder(open(disk_.folder().c_str(), O_RDONLY | O_CLOEXEC));
  Rescued rescued;
  EXPECT_EQ(Rescue(folder, request_, disk_.NewPath(), &rescued), kRecordFileOk);
  EXPECT_EQ(rescued.written, 0U);
}

}  // namespace
}  // namespace packetdb::host
