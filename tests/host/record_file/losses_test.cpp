// What a file says of itself after it has lost something: the records that are left, and counts.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/record_file/frame.h"
#include "tests/host/record_file/geometries.h"
#include "tests/host/record_file/journal.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<gid_t> Groups() {
  std::vector<gid_t> groups(static_cast<std::size_t>(getgroups(0, nullptr)));
  groups.resize(
      static_cast<std::size_t>(getgroups(static_cast<int>(groups.size()), groups.data())));
  return groups;
}

class RecordFileLosses : public testing::Test {
 protected:
  // An open file, as its writer left it that died, with the records 1 ... `count`.
  void Leave(std::uint64_t count, unsigned long capacity = 10) {
    path_ = MakeJournal(disk_, count, capacity);
    Change([](StatePage* state) { state->state = kOpen; });
  }
  template <class Body>
  void Change(Body body) {
    Bytes bytes = ReadBytes(path_);
    StatePage state = StateOf(bytes);
    body(&state);
    PutState(state, &bytes);
    WriteBytes(path_, bytes);
  }
  void Erase(std::uint64_t sequence) {
    const Geometry geometry = GeometryOfFile(path_);
    Bytes bytes = ReadBytes(path_);
    const auto at = static_cast<std::ptrdiff_t>(OffsetOf(geometry, sequence));
    std::fill_n(bytes.begin() + at, geometry.frame_size, 0);
    WriteBytes(path_, bytes);
  }
  StatePage StateAfterAWriter(unsigned long capacity = 10) {
    CDbFile file;
    EXPECT_EQ(Open(file, path_, kModeWrite, capacity), kRecordFileOk);
    file.Done();
    return StateOf(ReadBytes(path_));
  }

  Disk disk_;
  std::string path_;
};

TEST_F(RecordFileLosses, TheSectorOfTheCommitWordCostsNothingHoweverHighTheNumbers) {
  for (const std::uint64_t first : {0ULL, 1ULL << 31U, (1ULL << 32U) + 500, 1ULL << 40U}) {
    path_ = MakeJournal(disk_, 0);
    StartAt(path_, first);
    {
      CDbFile file;
      ASSERT_EQ(Open(file, path_, kModeWrite), kRecordFileOk);
      for (std::uint64_t value = 1; value <= 3; ++value) ASSERT_GE(Append(file, value), 0);
    }
    Bytes bytes = ReadBytes(path_);
    Superblock block = SuperblockOf(bytes);
    block.first_sequence = 0;  // as in a file that was not made a moment ago
    PutSoundSuperblock(block, &bytes);
    std::fill_n(bytes.begin() + kStateOffset, kSectorSize, 0);
    WriteBytes(path_, bytes);
    EXPECT_THAT(Reopen(path_).values, ElementsAre(1, 2, 3)) << first;
  }
}

TEST_F(RecordFileLosses, RecordsThatWereFlushedAndAreGoneFromTheEndAreDamage) {
  Leave(5);
  Erase(4);
  const StatePage state = StateAfterAWriter();
  EXPECT_EQ(state.damaged, 1U);
  EXPECT_EQ(state.lost_unsynced, 0U);
}

TEST_F(RecordFileLosses, RecordsThatWereNotFlushedAreNot) {
  Leave(5);
  Erase(4);
  Change([](StatePage* state) { state->synced = 4; });
  const StatePage state = StateAfterAWriter();
  EXPECT_EQ(state.damaged, 0U);
  EXPECT_EQ(state.lost_unsynced, 1U);
}

TEST_F(RecordFileLosses, ACommitWordThatIsDamagedCountsNoLosses) {
  Leave(5);
  Change([](StatePage* state) { state->next |= std::uint64_t{1} << 40U; });
  const StatePage state = StateAfterAWriter();
  EXPECT_EQ(state.damaged + state.lost_unsynced, 0U);
}

TEST_F(RecordFileLosses, AFileWithoutABoundThatWasCutCountsThem) {
  path_ = MakeJournal(disk_, 30000, kNoBound);
  std::filesystem::resize_file(path_, kCellsOffset + 100 * kCellSize);
  CDbFile file;
  ASSERT_EQ(Open(file, path_, kModeWrite, kNoBound), kRecordFileOk);
  EXPECT_EQ(file.RecordCount(), 600);
  file.Done();
  EXPECT_EQ(StateOf(ReadBytes(path_)).damaged, 29400U);
}

TEST_F(RecordFileLosses, ANumberWithoutARecordIsNotCountedAsOverwritten) {
  Leave(5);
  Erase(2);
  CDbFile file;
  ASSERT_EQ(Open(file, path_, kModeWrite, 3), kRecordFileOk);
  EXPECT_THAT(Values(file), ElementsAre(2, 4, 5));
  file.Done();
  const StatePage state = StateOf(ReadBytes(path_));
  EXPECT_EQ(state.damaged, 1U);
  EXPECT_EQ(state.overwritten_before, 1U);
}

TEST_F(RecordFileLosses, AJournalThatIsCutUnderAReaderFailsAndDoesNotLookEmpty) {
  path_ = MakeJournal(disk_, 3);
  CDbFile file;
  ASSERT_EQ(Open(file, path_, kModeRead), kRecordFileOk);
  std::filesystem::resize_file(path_, 0);
  TestRecord record;
  EXPECT_EQ(file.RecordCount(), 3);
  EXPECT_EQ(file.ReadRecord(0, record.data()), kFileLost);
}

TEST_F(RecordFileLosses, AReaderFollowsAWriterThatComesToWhereTheLastOneWas) {
  Leave(5);
  Erase(3);
  Erase(4);
  CDbFile reader;
  ASSERT_EQ(Open(reader, path_, kModeRead), kRecordFileOk);
  ASSERT_EQ(reader.RecordCount(), 3);
  CDbFile writer;
  ASSERT_EQ(Open(writer, path_, kModeWrite, 10), kRecordFileOk);
  for (const std::uint64_t value : {7U, 8U}) ASSERT_GE(Append(writer, value), 0);
  EXPECT_EQ(reader.RecordCount(), 5) << "the commit word is what it was";
}

TEST_F(RecordFileLosses, AResizedFileKeepsOwnerGroupAndMode) {
  path_ = MakeJournal(disk_, 3);
  const bool is_root = geteuid() == 0;
  ASSERT_EQ(chown(path_.c_str(), is_root ? 1234 : geteuid(), is_root ? 4321 : getegid()), 0);
  ASSERT_EQ(chmod(path_.c_str(), 0604), 0);
  CDbFile file;
  ASSERT_EQ(Open(file, path_, kModeWrite, 50), kRecordFileOk);
  struct stat status = {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, is_root ? 1234 : geteuid());
  EXPECT_EQ(status.st_gid, is_root ? 4321 : getegid());
  EXPECT_EQ(status.st_mode & 0777U, 0604U);
}

TEST_F(RecordFileLosses, AResizedFileKeepsAGroupThatAloneIsAnother) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser can give files to any group";
  path_ = MakeJournal(disk_, 3);
  ASSERT_EQ(chown(path_.c_str(), static_cast<uid_t>(-1), 4321), 0);
  CDbFile file;
  ASSERT_EQ(Open(file, path_, kModeWrite, 50), kRecordFileOk);
  struct stat status = {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_gid, 4321U);
}

// Who may read the records would be somebody else.
TEST_F(RecordFileLosses, AFileWhoseGroupCannotBeKeptKeepsItsCapacity) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser can become somebody else";
  constexpr uid_t kSomebody = 1234;
  path_ = MakeJournal(disk_, 3, 5);
  ASSERT_EQ(chown(path_.c_str(), kSomebody, 0), 0);
  ASSERT_EQ(chown(disk_.folder().c_str(), kSomebody, 0), 0);
  const std::vector<gid_t> groups = Groups();
  ASSERT_EQ(setgroups(0, nullptr), 0);
  ASSERT_EQ(setegid(4321), 0);
  ASSERT_EQ(seteuid(kSomebody), 0);
  CDbFile file;
  const int result = Open(file, path_, kModeWrite, 50);
  ASSERT_EQ(seteuid(0), 0);
  ASSERT_EQ(setegid(0), 0);
  ASSERT_EQ(setgroups(groups.size(), groups.data()), 0);
  EXPECT_EQ(result, kRecordFileOk);
  EXPECT_EQ(GeometryOfFile(path_).capacity, 5U);
}

}  // namespace
}  // namespace packetdb::host
