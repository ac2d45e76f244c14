// What Init says about arguments and about what is at the path.
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "host/record_file/descriptor.h"
#include "host/record_file/modes.h"
#include "host/record_file/state.h"
#include "tests/host/record_file/child.h"
#include "tests/host/record_file/journal.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;

class RecordFileOpen : public testing::Test {
 protected:
  // What opening `path` says in every mode that opens what is there.
  void ExpectRefused(const std::string& path, int result) {
    for (const int mode : {kModeRead, kModeWrite, kModeMissing, kModeAnew}) {
      EXPECT_EQ(Open(file_, path, mode), result) << "mode " << mode;
    }
  }

  Disk disk_;
  CDbFile file_;
};

// Whose space nobody had asked for yet, or a copy left out.
void PunchHole(const std::string& path, off_t begin, off_t size) {
  const Descriptor file = OpenDescriptor(path, O_RDWR);
  ASSERT_EQ(fallocate(file.get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, begin, size), 0);
}

std::uint64_t AllocatedBytes(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(stat(path.c_str(), &status), 0);
  return static_cast<std::uint64_t>(status.st_blocks) * 512;
}

TEST_F(RecordFileOpen, AWriterHasTheSpaceThatACopyLeftOut) {
  constexpr unsigned long kCapacity = 100'000;
  const std::string path = MakeJournal(disk_, 3, kCapacity);
  const std::uint64_t length = std::filesystem::file_size(path);
  PunchHole(path, 1 << 20, 4 << 20);
  ASSERT_LT(AllocatedBytes(path), length);
  ASSERT_EQ(Open(file_, path, kModeRead), kRecordFileOk);
  EXPECT_LT(AllocatedBytes(path), length) << "a reader changes nothing";
  ASSERT_EQ(Open(file_, path, kModeWrite, kCapacity), kRecordFileOk);
  EXPECT_GE(AllocatedBytes(path), length);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2, 3));
}

TEST_F(RecordFileOpen, RefusesUnknownModeBits) {
  EXPECT_EQ(Open(file_, disk_.NewPath(), 16), kBadMode);
  EXPECT_EQ(Open(file_, disk_.NewPath(), -1), kBadMode);
}

TEST_F(RecordFileOpen, CreatesNothingAnewWhereThatIsForbidden) {
  const std::string path = MakeJournal(disk_, 3);
  const Bytes before = ReadBytes(path);
  EXPECT_EQ(Open(file_, path, mode::kNeverAnew | mode::kCreateAnew), kBadMode);
  EXPECT_EQ(Open(file_, path, mode::kNeverAnew | kModeAnew), kBadMode);
  EXPECT_EQ(ReadBytes(path), before);
}

TEST_F(RecordFileOpen, ForbiddingToCreateAnewForbidsNothingElse) {
  const std::string path = disk_.NewPath();
  ASSERT_EQ(Open(file_, path, mode::kNeverAnew | kModeMissing), kRecordFileOk);
  EXPECT_EQ(Append(file_, 1), 0);
  ASSERT_EQ(Open(file_, path, mode::kNeverAnew | kModeRead), kRecordFileOk);
  EXPECT_EQ(Append(file_, 2), kReadOnlyFile);
  EXPECT_THAT(Values(file_), testing::ElementsAre(1));
}

TEST_F(RecordFileOpen, CreatingIsWritingWithoutBit1) {
  const std::string path = disk_.NewPath();
  ASSERT_EQ(Open(file_, path, 4), kRecordFileOk);
  EXPECT_EQ(Append(file_, 1), 0);
  ASSERT_EQ(Open(file_, path, 2), kRecordFileOk);
  EXPECT_EQ(Append(file_, 2), 0);
}

TEST_F(RecordFileOpen, RefusesPathsThatNameNothing) {
  const std::string path = MakeJournal(disk_, 1);
  ExpectRefused("", kBadPath);
  ExpectRefused(path + std::string("\0tail", 5), kBadPath);
  ExpectRefused(disk_.folder() + "/" + std::string(300, 'x'), kBadPath);
}

TEST_F(RecordFileOpen, RefusesAMagicThatDoesNotFit) {
  const std::string fits(kMagicSize - 1, 'm');
  EXPECT_EQ(file_.Init(disk_.NewPath(), nullptr, 8, 1, kModeMissing), kBadMagic);
  EXPECT_EQ(file_.Init(disk_.NewPath(), (fits + "m").c_str(), 8, 1, kModeMissing), kBadMagic);
  EXPECT_EQ(file_.Init(disk_.NewPath(), fits.c_str(), 8, 1, kModeMissing), kRecordFileOk);
}

TEST_F(RecordFileOpen, RefusesARecordSizeOutOfRange) {
  EXPECT_EQ(file_.Init(disk_.NewPath(), "m", 0, 1, kModeMissing), kBadRecordSize);
  EXPECT_EQ(file_.Init(disk_.NewPath(), "m", kMaxRecordSize + 1, 1, kModeMissing), kBadRecordSize);
  EXPECT_EQ(file_.Init(disk_.NewPath(), "m", kNoBound, 1, kModeMissing), kBadRecordSize);
}

TEST_F(RecordFileOpen, KeepsRecordsOfTheLargestAndTheSmallestSize) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{kMaxRecordSize}}) {
    ASSERT_EQ(file_.Init(disk_.NewPath(), "m", size, 2, kModeMissing), kRecordFileOk);
    const Bytes record(size, 'r');
    for (int i = 0; i < 5; ++i) ASSERT_EQ(file_.AppendRecord(record.data()), i);
    ASSERT_EQ(file_.WriteRecord(4, record.data()), kRecordFileOk);
    Bytes read(size, 'x');
    EXPECT_EQ(file_.ReadRecord(1, read.data()), kRecordFileOk);
    EXPECT_EQ(read, record);
  }
}

TEST_F(RecordFileOpen, RefusesCreationWithRoomForNothingByName) {
  EXPECT_EQ(Open(file_, disk_.NewPath(), kModeMissing, 0), kBadCapacity);
  EXPECT_EQ(Open(file_, disk_.NewPath(), kModeAnew, 0), kBadCapacity);
}

TEST_F(RecordFileOpen, AnotherFormatComesBeforeAnotherCapacity) {
  const std::string path = MakeJournal(disk_, 2, 3);
  const Bytes before = ReadBytes(path);
  EXPECT_EQ(file_.Init(path, "Another", kTestRecordSize, 4, kModeWrite), kOtherFormat);
  EXPECT_EQ(file_.Init(path, kTestMagic, 60, 4, kModeWrite), kOtherFormat);
  EXPECT_EQ(ReadBytes(path), before);
}

TEST_F(RecordFileOpen, TheLargestCapacityIsABound) {
  const auto create = [&] {
    const rlimit limit = {1U << 30U, 1U << 30U};
    if (std::signal(SIGXFSZ, SIG_IGN) == SIG_ERR || setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
    return file_.Init(disk_.NewPath(), "m", kMaxRecordSize, kMaxRecords, kModeMissing);
  };
  EXPECT_EQ(InChild(create), kFileTooLarge) << "more than a tebibyte is asked for";
  EXPECT_EQ(file_.Init(disk_.NewPath(), "m", 8, kMaxRecords + 1, kModeMissing), kRecordFileOk);
}

TEST_F(RecordFileOpen, NamesAMissingFileAndAMissingFolder) {
  EXPECT_EQ(Open(file_, disk_.NewPath(), kModeRead), kMissing);
  EXPECT_EQ(Open(file_, disk_.NewPath(), kModeWrite), kMissing);
  ExpectRefused(disk_.folder() + "/no folder/journal", kMissing);
}

TEST_F(RecordFileOpen, RefusesADirectory) {
  const std::string path = disk_.NewPath();
  std::filesystem::create_directory(path);
  ExpectRefused(path, kIsDirectory);
}

TEST_F(RecordFileOpen, DoesNotWaitForAFifo) {
  const std::string path = disk_.NewPath();
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  ExpectRefused(path, kNotRegular);
}

TEST_F(RecordFileOpen, RefusesASocket) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string path = disk_.folder() + "/s";
  ASSERT_LT(path.copy(address.sun_path, sizeof address.sun_path - 1), sizeof address.sun_path - 1);
  const Descriptor listener(socket(AF_UNIX, SOCK_STREAM, 0));
  ASSERT_EQ(bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ExpectRefused(path, kNotRegular);
}

TEST_F(RecordFileOpen, DoesNotFollowALink) {
  const std::string target = MakeJournal(disk_, 1);
  const std::string link = disk_.NewPath();
  std::filesystem::create_symlink(target, link);
  ExpectRefused(link, kIsSymlink);
  EXPECT_THAT(Reopen(target).values, ElementsAre(1));
}

TEST_F(RecordFileOpen, DoesNotCreateBehindALink) {
  const std::string link = disk_.NewPath();
  std::filesystem::create_symlink(disk_.folder() + "/target", link);
  ExpectRefused(link, kIsSymlink);
  EXPECT_FALSE(std::filesystem::exists(disk_.folder() + "/target"));
}

TEST_F(RecordFileOpen, NamesMissingPermission) {
  const std::string path = MakeJournal(disk_, 1);
  ASSERT_EQ(chmod(disk_.folder().c_str(), 0755), 0);
  ASSERT_EQ(chmod(path.c_str(), 0), 0);
  for (const int mode : {kModeRead, kModeWrite, kModeMissing, kModeAnew}) {
    const int result =
        InChild([&] { return BecomeOrdinaryUser() ? Open(file_, path, mode) : kSystemError; });
    EXPECT_EQ(result, kNoPermission) << "mode " << mode;
  }
}

TEST_F(RecordFileOpen, NamesAFolderThatCannotBeWritten) {
  const std::string path = disk_.NewPath();
  ASSERT_EQ(chmod(disk_.folder().c_str(), 0555), 0);
  const int result = InChild(
      [&] { return BecomeOrdinaryUser() ? Open(file_, path, kModeMissing) : kSystemError; });
  ASSERT_EQ(chmod(disk_.folder().c_str(), 0755), 0);
  EXPECT_EQ(result, kNoPermission);
}

TEST_F(RecordFileOpen, AReaderNeedsNoPermissionToWrite) {
  const std::string path = MakeJournal(disk_, 1);
  ASSERT_EQ(chmod(disk_.folder().c_str(), 0755), 0);
  ASSERT_EQ(chmod(path.c_str(), 0444), 0);
  const auto read = [&] {
    return BecomeOrdinaryUser() && Open(file_, path, kModeRead) == kRecordFileOk
               ? file_.RecordCount()
               : kSystemError;
  };
  EXPECT_EQ(InChild(read), 1);
}

TEST_F(RecordFileOpen, AWriterExcludesWritersOfOtherProcessesOnly) {
  const std::string path = MakeJournal(disk_, 1);
  const auto open_elsewhere = [&](int mode) {
    return InChild([&] {
      CDbFile other;
      return Open(other, path, mode);
    });
  };
  ASSERT_EQ(Open(file_, path, kModeWrite), kRecordFileOk);
  EXPECT_EQ(open_elsewhere(kModeWrite), kInUse);
  EXPECT_EQ(open_elsewhere(kModeAnew), kInUse);
  EXPECT_EQ(open_elsewhere(kModeRead), kRecordFileOk);
  ASSERT_EQ(Open(file_, path, kModeRead), kRecordFileOk);
  EXPECT_EQ(open_elsewhere(kModeWrite), kRecordFileOk);
  EXPECT_EQ(open_elsewhere(kModeAnew), kRecordFileOk);
}

TEST_F(RecordFileOpen, AReaderKeepsTheFileThatIsReplacedUnderIt) {
  const std::string path = MakeJournal(disk_, 2);
  ASSERT_EQ(Open(file_, path, kModeRead), kRecordFileOk);
  CDbFile writer;
  ASSERT_EQ(Open(writer, path, kModeAnew), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2));
  ASSERT_EQ(Open(file_, path, kModeRead), kRecordFileOk);
  EXPECT_EQ(file_.RecordCount(), 0);
}

TEST_F(RecordFileOpen, AFileThatIsOnlyOpenedStaysAsItIs) {
  const std::string path = MakeJournal(disk_, 2);
  const Bytes before = ReadBytes(path);
  ASSERT_EQ(Open(file_, path, kModeWrite), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2));
  EXPECT_EQ(Overwrite(file_, 7, 1), kDeadTicket);
  file_.Done();
  EXPECT_EQ(ReadBytes(path), before);
}

TEST_F(RecordFileOpen, TheFileSaysThatItIsBeingChangedAndThatItIsClosed) {
  const std::string path = MakeJournal(disk_, 2);
  ASSERT_EQ(Open(file_, path, kModeWrite), kRecordFileOk);
  ASSERT_EQ(Overwrite(file_, 0, 10), kRecordFileOk);
  EXPECT_EQ(StateOf(ReadBytes(path)).state, kOpen);
  EXPECT_EQ(StateOf(ReadBytes(path)).writer_pid, static_cast<std::uint32_t>(getpid()));
  file_.Done();
  EXPECT_TRUE(IsSoundlyClosed(StateOf(ReadBytes(path))));
  EXPECT_EQ(StateOf(ReadBytes(path)).merges, 1U);
}

TEST_F(RecordFileOpen, DoneGivesTheLockBackInSpiteOfAForkedCopy) {
  const std::string path = MakeJournal(disk_, 1);
  ASSERT_EQ(Open(file_, path, kModeWrite), kRecordFileOk);
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  Descriptor read_end(ends[0]);
  Descriptor write_end(ends[1]);
  const pid_t child = fork();
  if (child == 0) {  // lives, with its copy of the file, until the pipe is closed
    write_end = Descriptor();
    char byte = 0;
    _exit(static_cast<int>(read(read_end.get(), &byte, 1)));
  }
  file_.Done();
  EXPECT_EQ(Open(file_, path, kModeWrite), kRecordFileOk);
  write_end = Descriptor();
  EXPECT_EQ(waitpid(child, nullptr, 0), child);
}

TEST_F(RecordFileOpen, RefusesNullBuffers) {
  ASSERT_EQ(Open(file_, MakeJournal(disk_, 1), kModeWrite), kRecordFileOk);
  EXPECT_EQ(file_.AppendRecord(nullptr), kNoBuffer);
  EXPECT_EQ(file_.WriteRecord(0, nullptr), kNoBuffer);
  EXPECT_EQ(file_.ReadRecord(0, nullptr), kNoBuffer);
  EXPECT_EQ(file_.ReadRecords(0, nullptr, 1), kNoBuffer);
}

TEST_F(RecordFileOpen, NamesEveryRefusalOfAnOperation) {
  TestRecord record;
  EXPECT_EQ(Append(file_, 1), kNotOpen);
  EXPECT_EQ(Overwrite(file_, 0, 1), kNotOpen);
  EXPECT_EQ(file_.ReadRecord(0, record.data()), kNotOpen);
  EXPECT_EQ(file_.ReadRecords(0, record.data(), 1), kNotOpen);
  ASSERT_EQ(Open(file_, MakeJournal(disk_, 1), kModeWrite), kRecordFileOk);
  EXPECT_EQ(Overwrite(file_, -1, 1), kBadTicket);
  EXPECT_EQ(Overwrite(file_, 1, 1), kDeadTicket);
  EXPECT_EQ(file_.ReadRecord(1, record.data()), kBadPosition);
  EXPECT_EQ(file_.ReadRecords(1, record.data(), 1), kBadPosition);
  EXPECT_EQ(file_.ReadRecords(0, record.data(), 0), kBadCount);
  ASSERT_EQ(Open(file_, file_.GetFilePath(), kModeRead), kRecordFileOk);
  EXPECT_EQ(Append(file_, 1), kReadOnlyFile);
  EXPECT_EQ(Overwrite(file_, 0, 1), kReadOnlyFile);
}

}  // namespace
}  // namespace packetdb::host
