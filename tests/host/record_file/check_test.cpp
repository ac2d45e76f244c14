// What a check finds in a file that is closed.
#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <random>

#include "host/record_file/settings.h"
#include "tests/host/record_file/checked.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr unsigned long kSlots = 4128;  // of a file for 3 records of 72 bytes

class RecordFileCheck : public testing::Test {
 protected:
  std::vector<Found> FoundIn(const Bytes& bytes) {
    const Checked checked = CheckBytes(path_, bytes);
    EXPECT_EQ(checked.result, kRecordFileOk);
    texts_ = checked.texts;
    return checked.found;
  }
  std::vector<Found> FoundWithByte(std::size_t position, char byte) {
    Bytes bytes = sound_;
    bytes[position] = byte;
    return FoundIn(bytes);
  }
  void Use(const std::string& path) {
    path_ = path;
    sound_ = ReadBytes(path);
  }

  Disk disk_;
  std::string path_ = MakeJournal(disk_, 2);
  Bytes sound_ = ReadBytes(path_);
  std::vector<std::string> texts_;
};

TEST_F(RecordFileCheck, FindsNothingInAFileThatAWriterLeft) {
  for (const std::uint64_t count : {std::uint64_t{0}, std::uint64_t{2}, std::uint64_t{9},
                                    std::uint64_t{kSlots}, std::uint64_t{3 * kSlots + 5}}) {
    EXPECT_THAT(FindingsIn(MakeJournal(disk_, count)), IsEmpty()) << count;
    EXPECT_THAT(FindingsIn(MakeJournal(disk_, count, kNoBound)), IsEmpty()) << count;
  }
}

TEST_F(RecordFileCheck, FindsNothingInAFileOfAnyRecordSize) {
  for (const std::size_t size : {1U, 60U, 64U, 72U, 255U, 504U}) {
    const std::string path = disk_.NewPath();
    CDbFile file;
    ASSERT_EQ(file.Init(path, kTestMagic, size, 100, kModeAnew), kRecordFileOk);
    for (int i = 0; i < 5000; ++i) ASSERT_GE(file.AppendRecord(Bytes(size, 'r').data()), 0);
    ASSERT_EQ(file.WriteRecord(4950, Bytes(size, 's').data()), kRecordFileOk);
    file.Done();
    EXPECT_THAT(FindingsIn(path), IsEmpty()) << size;
  }
}

TEST_F(RecordFileCheck, FindsNothingWhereNumberingBeginsInTheMiddle) {
  for (const std::uint64_t first :
       {std::uint64_t{1}, std::uint64_t{kSlots - 1}, std::uint64_t{0xFFFFFFFE},
        std::uint64_t{0x7FFFFFFF}, std::uint64_t{1} << 40U}) {
    const std::string path = MakeJournal(disk_, 0);
    StartAt(path, first);
    EXPECT_THAT(FindingsIn(path), IsEmpty()) << first;
    CDbFile file;
    ASSERT_EQ(Open(file, path, kModeWrite), kRecordFileOk);
    for (std::uint64_t value = 0; value < 7; ++value) Append(file, value);
    file.Done();
    EXPECT_THAT(FindingsIn(path), IsEmpty()) << first;
  }
}

TEST_F(RecordFileCheck, AnOverwriteOfLongAgoIsSoundThoughItsNumberIsFarBack) {
  const std::string path = MakeJournal(disk_, 0);
  CDbFile file;
  ASSERT_EQ(Open(file, path, kModeWrite), kRecordFileOk);
  Append(file, 1);
  Overwrite(file, 0, 2);
  file.Done();
  Bytes bytes = ReadBytes(path);
  StatePage state = StateOf(bytes);
  // As if the ring had gone round for a long time since; nothing else of it is sound then.
  state.next = (std::uint64_t{3} << 32U) + 9;
  PutSoundState(state, &bytes);
  const Checked checked = CheckBytes(path, bytes);
  EXPECT_THAT(
      checked.found,
      Not(testing::Contains(testing::FieldsAre(testing::_, testing::_, std::string(kFindRedo)))));
}

TEST_F(RecordFileCheck, FindsTheSameByCalls) {
  Bytes bytes = sound_;
  bytes[kStateOffset + 20] = bytes[kCellsOffset + 90] = bytes.back() = 'x';
  const std::vector<Found> mapped = FoundIn(bytes);
  const RecordFileSettings before = GetRecordFileSettings();
  RecordFileSettings settings = before;
  settings.by_calls = true;
  SetRecordFileSettings(settings);
  EXPECT_EQ(FoundIn(bytes), mapped);
  SetRecordFileSettings(before);
  EXPECT_EQ(mapped.size(), 4U);
}

bool HasDamage(const std::string& path) {
  const std::vector<Found> found = FindingsIn(path);
  return std::any_of(found.begin(), found.end(),
                     [](const Found& f) { return std::get<1>(f) == Severity::kDamage; });
}

// One bit of each byte at the front, every bit of what is used of the state page and of a cell, and
// some more.
TEST_F(RecordFileCheck, FindsEveryFlippedBit) {
  CDbFile file;
  ASSERT_EQ(Open(file, path_, kModeWrite), kRecordFileOk);
  Overwrite(file, 1, 7);
  file.Done();
  std::vector<std::uint64_t> bits;
  for (std::uint64_t byte = 0; byte < kCellsOffset; byte += 2) bits.push_back(byte * 8 + byte % 7);
  for (const std::uint64_t begin : {kStateOffset, kStateOffset + 128, kRedoOffset, kCellsOffset}) {
    for (std::uint64_t bit = begin * 8; bit < (begin + 80) * 8; ++bit) bits.push_back(bit);
  }
  std::mt19937_64 random(11);
  for (int i = 0; i < 2000; ++i) bits.push_back(random() % (sound_.size() * 8));
  for (const std::uint64_t bit : bits) {
    FlipBit(path_, bit);
    ASSERT_TRUE(HasDamage(path_)) << "bit " << bit % 8 << " of byte " << bit / 8;
    FlipBit(path_, bit);
  }
  EXPECT_THAT(FindingsIn(path_), IsEmpty());
}

TEST_F(RecordFileCheck, FindsFlippedBitsOfFramesOfEarlierLaps) {
  Use(MakeJournal(disk_, kSlots + 100));
  std::mt19937_64 random(12);
  for (int i = 0; i < 3000; ++i) {
    const std::uint64_t bit = kCellsOffset * 8 + random() % ((sound_.size() - kCellsOffset) * 8);
    FlipBit(path_, bit);
    ASSERT_TRUE(HasDamage(path_)) << "bit " << bit % 8 << " of byte " << bit / 8;
    FlipBit(path_, bit);
  }
}

TEST_F(RecordFileCheck, FindsWhereAFileEndsTooEarly) {
  for (const std::uint64_t length :
       {sound_.size() - 1, sound_.size() / 2, std::size_t{kCellsOffset + 1},
        std::size_t{kCellsOffset}, std::size_t{kStateOffset}, std::size_t{5000},
        std::size_t{kPageSize}}) {
    std::filesystem::resize_file(path_, length);
    ASSERT_THAT(FindingsIn(path_), ElementsAre(Damage(length, kFindLength))) << length;
  }
  std::filesystem::resize_file(path_, kPageSize - 1);
  EXPECT_THAT(FindingsIn(path_), ElementsAre(Damage(0, kFindLength)));
}

TEST_F(RecordFileCheck, FindsWhereAFileGoesOnTooLong) {
  Bytes bytes = sound_;
  bytes.resize(bytes.size() + 500);
  EXPECT_THAT(FoundIn(bytes), ElementsAre(Damage(sound_.size(), kFindLength)));
}

TEST_F(RecordFileCheck, AFileWithoutABoundCanEndAnywhereBehindItsRecords) {
  Use(MakeJournal(disk_, 2, kNoBound));
  for (const std::size_t length :
       {sound_.size() - 1, sound_.size() - 600, std::size_t{kCellsOffset + kCellSize}}) {
    std::filesystem::resize_file(path_, length);
    EXPECT_THAT(FindingsIn(path_), IsEmpty()) << length;
  }
  std::filesystem::resize_file(path_, kCellsOffset - 1);
  EXPECT_THAT(FindingsIn(path_), ElementsAre(Damage(kCellsOffset - 1, kFindLength)));
}

TEST_F(RecordFileCheck, FindsBytesBehindTheLastSlotOfAFileWithoutABound) {
  Use(MakeJournal(disk_, 2, kNoBound));
  sound_.resize(sound_.size() - 600);
  EXPECT_THAT(FoundWithByte(sound_.size() - 1, 1),
              ElementsAre(Damage(sound_.size() - 1, kFindPadding)));
}

TEST_F(RecordFileCheck, FindsTheRecordsThatAFileWithoutABoundHasLost) {
  Use(MakeJournal(disk_, 20, kNoBound));
  sound_.resize(kCellsOffset + kCellSize);
  EXPECT_THAT(FoundIn(sound_), ElementsAre(Damage(kNextOffset, kFindState)));
}

TEST_F(RecordFileCheck, TellsWhatIsNoRecordFileOfThisLayout) {
  const auto result_for = [this](const Bytes& bytes) {
    const Checked checked = CheckBytes(path_, bytes);
    EXPECT_THAT(checked.found, IsEmpty());
    return checked.result;
  };
  EXPECT_EQ(result_for({}), kEmptyFile);
  EXPECT_EQ(result_for(Bytes(100, 'x')), kNotARecordFile);
  EXPECT_EQ(result_for(Bytes(50000, 'x')), kNotARecordFile);
  EXPECT_EQ(result_for({sound_.begin(), sound_.begin() + 7}), kNotARecordFile);
  Bytes bytes = sound_;
  Superblock block = SuperblockOf(sound_);
  block.layout_version = 3;
  PutSoundSuperblock(block, &bytes);
  EXPECT_EQ(result_for(bytes), kUnsupportedLayout);
  block = SuperblockOf(sound_);
  block.flags = 1;
  PutSoundSuperblock(block, &bytes);
  EXPECT_EQ(result_for(bytes), kUnsupportedLayout);
  block = SuperblockOf(sound_);
  block.byte_order_mark = kSwappedByteOrderMark;
  PutSoundSuperblock(block, &bytes);
  EXPECT_EQ(result_for(bytes), kOtherByteOrder);
}

}  // namespace
}  // namespace packetdb::host
