// What other processes do between two system calls of ours, and what single calls can answer.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "host/record_file/create.h"
#include "host/record_file/folder.h"
#include "host/record_file/inspect.h"
#include "host/record_file/settings.h"
#include "host/record_file/state.h"
#include "host/record_file/sync.h"
#include "tests/host/record_file/calls.h"
#include "tests/host/record_file/geometries.h"
#include "tests/host/record_file/system_log.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RecordFileRaces : public testing::Test {
 protected:
  ~RecordFileRaces() override { SetRecordFileSettings({}); }

  // A sound file with the records 1 and 2 appears at `path`.
  std::function<void()> Appears(const std::string& path) {
    return [this, path] { std::filesystem::rename(MakeJournal(disk_, 2), path); };
  }
  int OpenWith(Hook hook, int mode = kModeMissing) {
    const Interposition interposition(std::move(hook));
    return Open(file_, path_, mode);
  }

  static void UseCalls() {
    RecordFileSettings settings;
    settings.by_calls = true;
    settings.sync.mode = SyncMode::kNever;
    SetRecordFileSettings(settings);
  }

  Disk disk_;
  CDbFile file_;
  std::string path_ = disk_.folder() + "/journal";
  std::string temporary_ = path_ + ".~new";
};

TEST_F(RecordFileRaces, AFileThatAppearsWhileOneIsCreatedIsOpened) {
  ASSERT_EQ(OpenWith(BeforeNth(Call::kRename, 1, Appears(path_))), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2));
  EXPECT_THAT(disk_.Names(), ElementsAre("journal"));
}

TEST_F(RecordFileRaces, AFileThatIsReplacedBeforeItIsLockedIsOpenedAgain) {
  Appears(path_)();
  const std::string other = MakeJournal(disk_, 3);
  ASSERT_EQ(OpenWith(BeforeNth(Call::kLstat, 1, [&] { std::filesystem::rename(other, path_); })),
            kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2, 3));
}

TEST_F(RecordFileRaces, AFileThatIsReplacedWithoutEndIsGivenUp) {
  Appears(path_)();
  const auto replace = [&](const Made& made) -> std::optional<Instead> {
    if (made.call == Call::kLstat) Appears(path_)();
    return std::nullopt;
  };
  EXPECT_EQ(OpenWith(replace), kUnsettled);
}

TEST_F(RecordFileRaces, AFileThatDisappearsBeforeItIsLockedIsMissing) {
  Appears(path_)();
  EXPECT_EQ(
      OpenWith(BeforeNth(Call::kLstat, 1, [&] { std::filesystem::remove(path_); }), kModeWrite),
      kMissing);
}

// Another creation takes the temporary name between our removing and our making it.
TEST_F(RecordFileRaces, ATemporaryFileThatAppearsIsLeftAlone) {
  int opens = 0;
  const auto plant = [&](const Made& made) -> std::optional<Instead> {
    if (made.call == Call::kOpen && made.path == temporary_ && ++opens == 2) {
      WriteBytes(temporary_, Bytes(1, 'x'));
    }
    return std::nullopt;
  };
  ASSERT_EQ(OpenWith(plant), kRecordFileOk) << "with the next attempt";
  EXPECT_GT(opens, 2);
}

// Another creation takes ours for a leftover before we have locked it.
TEST_F(RecordFileRaces, ATemporaryFileThatIsTakenFromUsIsMadeAgain) {
  ASSERT_EQ(OpenWith(BeforeNth(Call::kLstat, 1, [&] { std::filesystem::remove(temporary_); })),
            kRecordFileOk);
  EXPECT_THAT(disk_.Names(), ElementsAre("journal"));
}

// As somebody can who may not lock it.
TEST_F(RecordFileRaces, AnothersFileUnderTheTemporaryNameIsNotRemoved) {
  {
    Creation creation(path_);
    ASSERT_EQ(creation.Begin({kTestMagic, kTestRecordSize, 3}, 0), kRecordFileOk);
    const Interposition interposition(BeforeNth(Call::kFsync, 1, Appears(temporary_)));
    Descriptor file;
    EXPECT_EQ(creation.Publish(Predecessor::kNone, &file), kUnsettled);
  }
  EXPECT_THAT(disk_.Names(), ElementsAre("journal.~new"));
}

TEST_F(RecordFileRaces, ATemporaryFileThatAnotherCreationLockedIsItsOwn) {
  EXPECT_EQ(OpenWith(FailNth(Call::kFcntl, 1, EAGAIN)), kInUse);
  EXPECT_THAT(disk_.Names(), ElementsAre("journal.~new")) << "which that one has";
}

TEST_F(RecordFileRaces, AnyLockThatIsNotOursIsInUse) {
  for (const int error : {EAGAIN, EACCES}) {
    Appears(path_)();
    EXPECT_EQ(OpenWith(FailNth(Call::kFcntl, 1, error), kModeWrite), kInUse);
  }
}

TEST_F(RecordFileRaces, AConvertedFileIsNotTakenWhereAFileAppears) {
  Appears(path_ + ".~tmp")();
  const std::string other = MakeJournal(disk_, 3);
  ASSERT_EQ(OpenWith(BeforeNth(Call::kRename, 1, [&] { std::filesystem::rename(other, path_); })),
            kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2, 3));
  EXPECT_TRUE(std::filesystem::exists(path_ + ".~tmp"));
}

TEST_F(RecordFileRaces, AConvertedFileThatIsReplacedIsLookedAtAgain) {
  Appears(path_ + ".~tmp")();
  const std::string other = MakeJournal(disk_, 3);
  ASSERT_EQ(OpenWith(BeforeNth(Call::kLstat, 1,
                               [&] { std::filesystem::rename(other, path_ + ".~tmp"); })),
            kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2, 3));
}

// To go on without it would hide the journal behind an empty one.
TEST_F(RecordFileRaces, AConvertedFileThatCannotBeLookedAtIsNotPassedOver) {
  for (const Call call : {Call::kFstat, Call::kPread}) {
    Appears(path_ + ".~tmp")();
    EXPECT_EQ(OpenWith(FailNth(call, 1, EIO)), kSystemError) << NameOf(call);
    EXPECT_FALSE(std::filesystem::exists(path_));
  }
  Appears(path_ + ".~tmp")();
  int opens = 0;
  const auto no_descriptor = [&](const Made& made) -> std::optional<Instead> {
    if (made.call != Call::kOpen || ++opens != 2) return std::nullopt;
    return Instead{-1, EMFILE};
  };
  EXPECT_EQ(OpenWith(no_descriptor), kNoDescriptor);
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(RecordFileRaces, AFileSystemThatCannotRenameSafelyIsRefused) {
  EXPECT_EQ(OpenWith(FailNth(Call::kRename, 1, EINVAL)), kReplaceRefused);
  EXPECT_THAT(disk_.Names(), IsEmpty());
}

TEST_F(RecordFileRaces, AFolderNeedNotBeFlushedWhereThatMeansNothing) {
  EXPECT_EQ(OpenWith(FailNth(Call::kFsync, 2, EINVAL)), kRecordFileOk);
}

TEST_F(RecordFileRaces, ANameThatMayNotSurviveIsNoSuccess) {
  EXPECT_EQ(OpenWith(FailNth(Call::kFsync, 2, EIO)), kSystemError);
  EXPECT_THAT(disk_.Names(), ElementsAre("journal"));
}

TEST_F(RecordFileRaces, FlushingTheFolderNeedsTheFolder) {
  EXPECT_EQ(FlushFolderOf(disk_.folder() + "/missing/journal"), kMissing);
}

TEST_F(RecordFileRaces, InterruptedCallsAreRepeated) {
  UseCalls();
  for (const Call call :
       {Call::kOpen, Call::kFsync, Call::kFallocate, Call::kPwrite, Call::kPread}) {
    for (int nth = 1; nth <= 4; ++nth) {
      std::filesystem::remove(path_);
      ASSERT_EQ(OpenWith(FailNth(call, nth, EINTR)), kRecordFileOk) << NameOf(call) << nth;
    }
  }
}

TEST_F(RecordFileRaces, CallsThatStopShortAreTakenUpWhereTheyStopped) {
  const std::string path = disk_.NewPath();
  WriteBytes(path, Bytes(2 * kPageSize, 'o'));
  OpenBytes open(path, Way::kByCalls);
  Bytes read(100);
  {
    // Claims that nothing but the first 7 bytes were written.
    const Interposition interposition(ReturnAtNth(Call::kPwrite, 1, 7));
    ASSERT_EQ(open.medium.Write(0, Bytes(10, 'x').data(), 10), kRecordFileOk);
  }
  EXPECT_EQ(ReadBytes(path)[6], 'o');
  EXPECT_EQ(ReadBytes(path)[7], 'x');
  const Interposition interposition(ReturnAtNth(Call::kPread, 1, 60));
  ASSERT_EQ(open.medium.Read(0, read.data(), 100), kRecordFileOk);
  EXPECT_EQ(read[59], '\0');
  EXPECT_EQ(read[60], 'o') << "from byte 60 on";
}

TEST_F(RecordFileRaces, AWriteThatWritesNothingIsAFailure) {
  WriteBytes(path_, Bytes(kPageSize, 'o'));
  OpenBytes open(path_, Way::kByCalls);
  const Interposition interposition(ReturnAtNth(Call::kPwrite, 1, 0));
  EXPECT_EQ(open.medium.Write(0, "x", 1), kSystemError);
}

TEST_F(RecordFileRaces, TheFrontIsReadInPiecesIfNeedBe) {
  Appears(path_)();
  const Interposition interposition(FailNth(Call::kPread, 1, EINTR));
  ASSERT_EQ(Open(file_, path_, kModeRead), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2));
}

TEST_F(RecordFileRaces, WhoIsNotToldAboutAWriterDoesNotRead) {
  Appears(path_)();
  EXPECT_EQ(OpenWith(FailNth(Call::kFcntl, 1, EIO), kModeRead), kSystemError);
}

TEST_F(RecordFileRaces, SpaceThatCannotBeGivenBackIsAFailureOfItsOwn) {
  EXPECT_EQ(OpenWith(Both(FailNth(Call::kFallocate, 1, ENOSPC), FailNth(Call::kFtruncate, 1, EIO))),
            kSystemError);
  EXPECT_EQ(OpenWith(FailNth(Call::kFallocate, 1, ENOSPC)), kNoSpace);
  EXPECT_THAT(disk_.Names(), IsEmpty());
}

TEST_F(RecordFileRaces, ACopyThatLeftOutZerosIsNotWrittenWhereTheirSpaceIsMissing) {
  std::filesystem::rename(MakeJournal(disk_, 3, 100'000), path_);
  const Descriptor file = OpenDescriptor(path_, O_RDWR);
  ASSERT_EQ(fallocate(file.get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 1 << 20, 1 << 20), 0);
  const Bytes before = ReadBytes(path_);
  for (const int error : {ENOSPC, EDQUOT}) {
    EXPECT_EQ(OpenWith(FailNth(Call::kFallocate, 1, error), kModeWrite), kNoSpace);
    EXPECT_EQ(ReadBytes(path_), before);
  }
  EXPECT_EQ(OpenWith(FailNth(Call::kFallocate, 1, EOPNOTSUPP), kModeWrite), kRecordFileOk)
      << "a disk that knows no such thing has room as long as it has room";
}

// They are a favour to later appends, and nothing depends on them.
TEST_F(RecordFileRaces, ZerosThatCannotBeWrittenAreNotMissed) {
  for (const long result : {0L, -1L}) {
    std::filesystem::remove(path_);
    EXPECT_EQ(OpenWith(ReturnAtNth(Call::kPwrite, 4, result)), kRecordFileOk);
    EXPECT_EQ(Append(file_, 1), 0);
  }
}

TEST_F(RecordFileRaces, WhatCannotBeAnUnfinishedFileIsRemovedUnderItsName) {
  const std::vector<std::function<void()>> plants = {
      [&] { std::filesystem::create_symlink(path_, temporary_); },
      [&] { ASSERT_EQ(mkfifo(temporary_.c_str(), 0600), 0); },
      [&] { WriteBytes(temporary_, Bytes(1, 'x')), chmod(temporary_.c_str(), 0666); },
      [&] {
        WriteBytes(temporary_, Bytes(1, 'x'));
        std::filesystem::create_hard_link(temporary_, disk_.NewPath());
      },
  };
  // Others can put names there, so that what has two of them is not ours.
  ASSERT_EQ(chmod(disk_.folder().c_str(), 0777), 0);
  for (std::size_t i = 0; i < plants.size(); ++i) {
    std::filesystem::remove(path_);
    plants[i]();
    EXPECT_EQ(Open(file_, path_, kModeMissing), kRecordFileOk) << i;
    EXPECT_FALSE(std::filesystem::exists(temporary_)) << i;
  }
}

TEST_F(RecordFileRaces, ATemporaryFileThatIsNotOursIsRemovedAsWell) {
  const auto not_allowed = [&](const Made& made) -> std::optional<Instead> {
    if (made.call != Call::kOpen || made.path != temporary_ || !std::filesystem::exists(made.path))
      return std::nullopt;
    return Instead{-1, EACCES};
  };
  WriteBytes(temporary_, Bytes(1, 'x'));
  EXPECT_EQ(OpenWith(not_allowed), kRecordFileOk);
  std::filesystem::remove(path_);
  WriteBytes(temporary_, Bytes(1, 'x'));
  // Another user's, by what we are told: the first question is about that file.
  EXPECT_EQ(OpenWith(ReturnAtNth(Call::kGeteuid, 1, 12345)), kRecordFileOk);
}

TEST_F(RecordFileRaces, ALeftoverThatCannotBeRemovedStopsACreation) {
  WriteBytes(temporary_, Bytes(1, 'x'));
  EXPECT_EQ(OpenWith(FailNth(Call::kUnlink, 1, EROFS)), kReadOnlyDisk);
}

TEST_F(RecordFileRaces, AFileOfTheSameNumberElsewhereIsAnother) {
  Appears(path_)();
  const auto elsewhere = [](const Made& made) -> std::optional<Instead> {
    if (made.call != Call::kLstat) return std::nullopt;
    auto* const status = static_cast<struct stat*>(made.out);
    const int result = lstat(made.path, status);
    ++status->st_dev;
    return Instead{result, errno};
  };
  EXPECT_EQ(OpenWith(elsewhere), kUnsettled);
}

TEST_F(RecordFileRaces, WhoIsNotTheSuperuserWritesToNobodyElsesFile) {
  Appears(path_)();
  const auto ordinary = [](const Made& made) -> std::optional<Instead> {
    if (made.call != Call::kGeteuid) return std::nullopt;
    return Instead{12345, 0};
  };
  EXPECT_EQ(OpenWith(ordinary, kModeWrite), kForeignOwner);
}

TEST_F(RecordFileRaces, WhereTheFolderCannotBeAskedAForeignFileIsForeign) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser can give files away";
  Appears(path_)();
  ASSERT_EQ(chown(path_.c_str(), 12345, static_cast<gid_t>(-1)), 0);
  EXPECT_EQ(OpenWith(FailNth(Call::kStat, 1, EIO), kModeWrite), kForeignOwner);
}

// The slot may hold half of it: until it is whole, no other overwrite takes the redo sector.
TEST_F(RecordFileRaces, AnOverwriteThatFailedIsCompletedBeforeTheNext) {
  Appears(path_)();
  UseCalls();
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  ASSERT_EQ(Overwrite(file_, 0, 10), kRecordFileOk);
  {
    const Interposition interposition(FailNth(Call::kPwrite, 2, EIO));
    EXPECT_EQ(Overwrite(file_, 0, 20), kSystemError);
  }
  {
    const Interposition interposition(FailNth(Call::kPread, 1, EIO));
    EXPECT_EQ(Overwrite(file_, 1, 30), kSystemError) << "it cannot be completed yet";
  }
  EXPECT_EQ(Overwrite(file_, 1, 30), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(20, 30));
}

TEST_F(RecordFileRaces, ALargeResizeThatFailsKeepsTheFile) {
  path_ = MakeJournal(disk_, 10'000, 10'000);
  // The first three are those of the superblocks and the state.
  const Interposition interposition(FailNth(Call::kPwrite, 4, EIO));
  ASSERT_EQ(Open(file_, path_, kModeWrite, 20'000), kRecordFileOk);
  EXPECT_EQ(file_.RecordCount(), 10'000);
  EXPECT_EQ(SuperblockOf(ReadBytes(path_)).capacity, 10'000U);
}

TEST_F(RecordFileRaces, DamageThatCannotBeNotedIsSkippedAllTheSame) {
  Appears(path_)();
  DamageRecord(path_, 0);
  UseCalls();
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  TestRecord record;
  EXPECT_EQ(file_.ReadRecord(0, record.data()), kDamagedRecord);
  const Interposition interposition(FailFrom(Call::kPwrite, 1, EIO));
  EXPECT_EQ(file_.RecordCount(), 1);
}

// Its frame was in the redo sector a moment ago, as far as a reader can tell.
TEST_F(RecordFileRaces, ASlotThatStaysTornUnderOverwritesWithoutEndIsDamaged) {
  Appears(path_)();
  DamageRecord(path_, 0);
  UseCalls();
  ASSERT_EQ(Open(file_, path_, kModeRead), kRecordFileOk);
  OpenBytes writer(path_, Way::kMapped);
  std::uint64_t merges = 0;
  const Interposition interposition([&](const Made& made) -> std::optional<Instead> {
    if (made.call == Call::kPread) writer.medium.StoreWord(kMergesOffset, ++merges);
    return std::nullopt;
  });
  TestRecord record;
  EXPECT_EQ(file_.ReadRecord(0, record.data()), kDamagedRecord);
  EXPECT_GT(merges, 100'000U) << "and not too soon";
}

// Each look at the file is outdated when it is done.
TEST_F(RecordFileRaces, AReaderAmongWritersThatComeAndGoComesToAnEnd) {
  Appears(path_)();
  Bytes bytes = ReadBytes(path_);
  StatePage state = StateOf(bytes);
  state.state = kOpen;
  PutState(state, &bytes);
  WriteBytes(path_, bytes);
  MoveToOtherBoot(path_);
  UseCalls();
  OpenBytes writer(path_, Way::kMapped);
  std::uint64_t reads = 0;
  const auto change = [&](const Made& made) -> std::optional<Instead> {
    if (made.call != Call::kPread) return std::nullopt;
    ++reads;
    writer.medium.Write(kStateOffset + offsetof(StatePage, opened_ns), &reads, sizeof reads);
    return std::nullopt;
  };
  EXPECT_EQ(OpenWith(change, kModeRead), kRecordFileOk);
  EXPECT_GT(reads, 100U);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2));
}

// A reader of a file without a bound whose commit word is ahead of what it can see.
TEST_F(RecordFileRaces, AReaderThatCannotFollowGrowthSeesWhatItCanReach) {
  path_ = MakeJournal(disk_, 2, kNoBound);
  const auto slots = static_cast<int>(GeometryOfFile(path_).slot_count);
  const auto count_with = [&](const Hook& hook, std::uint64_t longer) {
    CDbFile reader;
    EXPECT_EQ(Open(reader, path_, kModeRead), kRecordFileOk);
    OpenBytes writer(path_, Way::kMapped);
    const std::uint64_t before = writer.medium.LoadWord(kNextOffset);
    writer.medium.StoreWord(kNextOffset, static_cast<std::uint64_t>(slots) + 5);
    const std::uint64_t length = std::filesystem::file_size(path_);
    std::filesystem::resize_file(path_, length + longer);
    int count = 0;
    {
      const Interposition interposition(hook);
      count = reader.RecordCount();
    }
    std::filesystem::resize_file(path_, length);
    writer.medium.StoreWord(kNextOffset, before);
    return count;
  };
  const Hook none = FailNth(Call::kUnlink, 1, EIO);
  EXPECT_EQ(count_with(none, 1U << 20U), slots + 5);
  EXPECT_EQ(count_with(none, 0), slots);
  EXPECT_EQ(count_with(FailNth(Call::kFstat, 1, EIO), 1U << 20U), slots);
  EXPECT_EQ(count_with(FailNth(Call::kMremap, 1, ENOMEM), 1U << 20U), slots);
  const auto cut = [](const Made& made) -> std::optional<Instead> {
    if (made.call != Call::kFstat) return std::nullopt;
    static_cast<struct stat*>(made.out)->st_size = 0;
    return Instead{0, 0};
  };
  EXPECT_EQ(count_with(cut, 1U << 20U), slots);
}

TEST_F(RecordFileRaces, AWriterWithoutItsThreadIsNone) {
  Appears(path_)();
  const Bytes before = ReadBytes(path_);
  EXPECT_EQ(OpenWith(FailNth(Call::kThread, 1, EAGAIN), kModeWrite), kNoMemory);
  EXPECT_EQ(OpenWith(FailNth(Call::kMmap, 2, ENOMEM), kModeWrite), kNoMemory);
  EXPECT_EQ(Append(file_, 1), kNotOpen);
  EXPECT_EQ(ReadBytes(path_), before);
  EXPECT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk) << "and holds no lock";
}

TEST_F(RecordFileRaces, AFileThatCannotBeMappedIsNotOpened) {
  Appears(path_)();
  EXPECT_EQ(OpenWith(FailNth(Call::kMmap, 1, ENOMEM), kModeRead), kNoMemory);
}

// Where no empty page can be had, the signal goes to whom it went before.
TEST(GuardWithoutMemoryDeathTest, HandsOnWhatItCannotHandle) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        std::signal(SIGBUS, [](int) { std::exit(20); });
        Disk disk;
        const std::string path = MakeJournal(disk, 1);
        OpenBytes open(path, Way::kMapped);
        std::filesystem::resize_file(path, 0);
        const Interposition interposition(FailFrom(Call::kMmap, 1, ENOMEM));
        open.medium.LoadWord(kNextOffset);
        std::exit(1);
      },
      testing::ExitedWithCode(20), "");
}

// What a file system says it is.
class FileSystems : public RecordFileRaces {
 protected:
  static Hook Pretend(long magic, int flags, bool tells_flags = true) {
    return [=](const Made& made) -> std::optional<Instead> {
      if (made.call == Call::kFstatfs) {
        static_cast<struct statfs*>(made.out)->f_type = magic;
        return Instead{0, 0};
      }
      if (made.call != Call::kIoctl) return std::nullopt;
      if (!tells_flags) return Instead{-1, ENOTTY};
      *static_cast<int*>(made.out) |= flags;
      return Instead{0, 0};
    };
  }

  Way BestWayOn(const Hook& hook) {
    const Interposition interposition(hook);
    return BestWay(Descriptor());
  }
};

TEST_F(FileSystems, OfThisMachineAreMapped) {
  for (const long magic : {0xEF53L, 0x58465342L, 0x01021994L}) {
    EXPECT_EQ(BestWayOn(Pretend(magic, 0)), Way::kMapped);
  }
}

TEST_F(FileSystems, OfOthersAreNot) {
  for (const long magic : {long{NFS_SUPER_MAGIC}, long{FUSE_SUPER_MAGIC}, 0xFF534D42L}) {
    EXPECT_EQ(BestWayOn(Pretend(magic, FS_NOCOW_FL)), Way::kByCalls);
  }
}

TEST_F(FileSystems, ThatMoveWhatIsWrittenAreMappedOnlyWhereTheyDoNot) {
  EXPECT_EQ(BestWayOn(Pretend(BTRFS_SUPER_MAGIC, 0)), Way::kByCalls);
  EXPECT_EQ(BestWayOn(Pretend(BTRFS_SUPER_MAGIC, FS_NOCOW_FL)), Way::kMapped);
  EXPECT_EQ(BestWayOn(Pretend(BTRFS_SUPER_MAGIC, 0, false)), Way::kByCalls);
}

TEST_F(FileSystems, ThatMoveWhatIsWrittenAreAskedNotToWhenAFileIsMade) {
  int asked = 0;
  const Hook pretend = Pretend(BTRFS_SUPER_MAGIC, 0);
  const auto hook = [&](const Made& made) -> std::optional<Instead> {
    if (made.call == Call::kIoctl && (*static_cast<int*>(made.out) & FS_NOCOW_FL) != 0) ++asked;
    return pretend(made);
  };
  EXPECT_EQ(OpenWith(hook), kRecordFileOk);
  EXPECT_EQ(asked, 1);
}

TEST_F(FileSystems, ThatCannotBeAskedAreUsedAsTheyAre) {
  EXPECT_EQ(OpenWith(Pretend(BTRFS_SUPER_MAGIC, 0, false)), kRecordFileOk);
  EXPECT_EQ(Append(file_, 1), 0);
}

// The boot is asked for once in a process, so each of these has one of its own.
class BootIdDeathTest : public testing::Test {
 protected:
  BootIdDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  // Exits with 0 when a page that was just made is not of this boot.
  [[noreturn]] static void ExitWithBoot(Hook hook) {
    const Interposition interposition(std::move(hook));
    std::exit(IsOfThisBoot(MakeState(0, 0)) ? 1 : 0);
  }
};

TEST_F(BootIdDeathTest, WhatCannotBeOpenedIsNoBoot) {
  EXPECT_EXIT(ExitWithBoot(FailNth(Call::kOpen, 1, ENOENT)), testing::ExitedWithCode(0), "");
}

TEST_F(BootIdDeathTest, WhatCannotBeReadIsNoBoot) {
  EXPECT_EXIT(ExitWithBoot(FailNth(Call::kRead, 1, EIO)), testing::ExitedWithCode(0), "");
}

TEST_F(BootIdDeathTest, WhatIsNoIdIsNoBoot) {
  EXPECT_EXIT(ExitWithBoot(ReturnAtNth(Call::kRead, 1, 20)), testing::ExitedWithCode(0), "")
      << "20 bytes that are no digits";
}

TEST_F(BootIdDeathTest, LettersThatAreNoDigitsAreNoBoot) {
  EXPECT_EXIT(ExitWithBoot([](const Made& made) -> std::optional<Instead> {
                if (made.call != Call::kRead) return std::nullopt;
                std::fill_n(static_cast<char*>(made.out), 36, 'z');
                return Instead{36, 0};
              }),
              testing::ExitedWithCode(0), "");
}

TEST_F(BootIdDeathTest, WhatTheKernelTellsIsThisBoot) {
  EXPECT_EXIT(ExitWithBoot(FailNth(Call::kUnlink, 1, EIO)), testing::ExitedWithCode(1), "");
}

}  // namespace
}  // namespace packetdb::host
