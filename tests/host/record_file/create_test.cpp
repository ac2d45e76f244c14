// Making new files: complete or not at all, and never at somebody else's expense.
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/record_file/descriptor.h"
#include "host/record_file/open.h"
#include "tests/host/record_file/child.h"
#include "tests/host/record_file/journal.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RecordFileCreate : public testing::Test {
 protected:
  Disk disk_;
  CDbFile file_;
  std::string path_ = disk_.NewPath();
  std::string temporary_ = path_ + ".~new";
};

// In a child: files may not grow beyond `bytes`.
bool LimitFileSize(rlim_t bytes) {
  const rlimit limit = {bytes, bytes};
  return std::signal(SIGXFSZ, SIG_IGN) != SIG_ERR && setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

TEST_F(RecordFileCreate, LeavesOnlyTheFile) {
  ASSERT_EQ(Open(file_, path_, kModeMissing), kRecordFileOk);
  EXPECT_THAT(disk_.Names(), ElementsAre("journal 0"));
}

TEST_F(RecordFileCreate, AllocatesAllItsSpace) {
  ASSERT_EQ(Open(file_, path_, kModeMissing, 100000), kRecordFileOk);
  struct stat status = {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_size, static_cast<off_t>(SuperblockOf(ReadBytes(path_)).file_length));
  EXPECT_GE(status.st_blocks * 512, status.st_size);
}

TEST_F(RecordFileCreate, OwnerWritesAndGroupReadsWhateverTheUmask) {
  const auto create = [&] {
    umask(0777);
    return Open(file_, path_, kModeMissing);
  };
  ASSERT_EQ(InChild(create), kRecordFileOk);
  struct stat status = {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(RecordFileCreate, WithoutRoomNothingIsLeft) {
  const auto create = [&] {
    return LimitFileSize(100000) ? Open(file_, path_, kModeMissing, 10000) : kSystemError;
  };
  EXPECT_EQ(InChild(create), kFileTooLarge);
  EXPECT_THAT(disk_.Names(), IsEmpty());
}

TEST_F(RecordFileCreate, WithoutRoomTheOldFileStays) {
  path_ = MakeJournal(disk_, 2);
  const auto create = [&] {
    return LimitFileSize(100000) ? Open(file_, path_, kModeAnew, 10000) : kSystemError;
  };
  EXPECT_EQ(InChild(create), kFileTooLarge);
  EXPECT_THAT(disk_.Names(), ElementsAre("journal 1"));
  EXPECT_THAT(Reopen(path_).values, ElementsAre(1, 2));
}

TEST_F(RecordFileCreate, RemovesWhatAKilledCreationLeft) {
  WriteBytes(temporary_, Bytes(100, 'x'));
  ASSERT_EQ(Open(file_, path_, kModeMissing), kRecordFileOk);
  EXPECT_THAT(disk_.Names(), ElementsAre("journal 0"));
}

TEST_F(RecordFileCreate, DoesNotWriteThroughAPlantedLink) {
  const std::string victim = disk_.folder() + "/victim";
  WriteBytes(victim, Bytes(3, 'v'));
  std::filesystem::create_symlink(victim, temporary_);
  ASSERT_EQ(Open(file_, path_, kModeMissing), kRecordFileOk);
  EXPECT_EQ(ReadBytes(victim), Bytes(3, 'v'));
  EXPECT_FALSE(std::filesystem::is_symlink(path_));
}

TEST_F(RecordFileCreate, DoesNotWriteIntoAPlantedHardLink) {
  const std::string victim = disk_.folder() + "/victim";
  WriteBytes(victim, Bytes(3, 'v'));
  std::filesystem::create_hard_link(victim, temporary_);
  ASSERT_EQ(Open(file_, path_, kModeMissing), kRecordFileOk);
  EXPECT_EQ(ReadBytes(victim), Bytes(3, 'v'));
}

TEST_F(RecordFileCreate, RefusesADirectoryInTheWay) {
  std::filesystem::create_directory(temporary_);
  EXPECT_EQ(Open(file_, path_, kModeMissing), kIsDirectory);
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(RecordFileCreate, LeavesACreationInProgressAlone) {
  WriteBytes(temporary_, Bytes(100, 'x'));
  Descriptor other;
  ASSERT_EQ(OpenLocked(temporary_, Access::kWrite, &other), kRecordFileOk);
  EXPECT_EQ(Open(file_, path_, kModeMissing), kInUse);
  EXPECT_TRUE(IsFileAt(temporary_, other));
}

TEST_F(RecordFileCreate, NeedsAFolderThatAllowsTheTemporaryName) {
  EXPECT_EQ(Open(file_, disk_.folder() + "/" + std::string(253, 'x'), kModeMissing), kBadPath);
  EXPECT_THAT(disk_.Names(), IsEmpty());
}

// Many processes at once create the same missing file: exactly one may have it at any time, and
// nobody's records disappear behind another's new file.
TEST_F(RecordFileCreate, RacingCreatorsNeverReplaceEachOther) {
  constexpr int kRacers = 4;
  constexpr int kRounds = 60;
  std::vector<pid_t> racers;
  for (int racer = 0; racer < kRacers; ++racer) {
    const pid_t child = fork();
    if (child == 0) {
      int failures = 0;
      for (int round = 0; round < kRounds; ++round) {
        const std::string path = disk_.folder() + "/race " + std::to_string(round);
        CDbFile file;
        int result = kInUse;
        while (result == kInUse || result == kUnsettled) result = Open(file, path, kModeMissing, 9);
        if (result < 0 || Append(file, static_cast<std::uint64_t>(racer)) < 0) ++failures;
      }
      _exit(failures > 255 ? 255 : failures);
    }
    racers.push_back(child);
  }
  for (const pid_t child : racers) {
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  for (int round = 0; round < kRounds; ++round) {
    const Outcome seen = Reopen(disk_.folder() + "/race " + std::to_string(round), 9);
    EXPECT_THAT(seen.values, testing::UnorderedElementsAre(0, 1, 2, 3)) << "round " << round;
  }
}

}  // namespace
}  // namespace packetdb::host
