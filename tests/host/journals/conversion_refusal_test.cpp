// What keeps a journal from being converted is said before anything is changed.
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iostream>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/journals/conversion.h"
#include "host/journals/error.h"
#include "host/record_file/modes.h"
#include "packetdb/journal_format.h"
#include "platform/record_file.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"
#include "tests/host/record_file/child.h"
#include "tests/host/record_file/disk.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

constexpr int kRead = 0;
constexpr char kBusy[] =
    "the record file is in use by another process; try again when that is done";
constexpr int kAsSaid = 0;
constexpr int kOtherwise = 1;

class RefusedConversion : public testing::TestWithParam<JournalFormat> {
 protected:
  RefusedConversion() {
    WriteText(group_.directory() + "/lan.group", "packetdb-group 1\nwindow 60\n");
    MakeOld(journal_, GetParam(), 5);
  }

  void ExpectRefusal(const std::string& error) const {
    const auto before = Snapshot(group_.directory());
    EXPECT_EQ(group_.ErrorOfOpening(), error);
    EXPECT_EQ(Snapshot(group_.directory()), before);
  }
  void ExpectNotConverted(const std::string& reason) const {
    ExpectRefusal("cannot convert journal " + journal_ + ": " + reason);
  }
  // Whether converting in a process that `change` was done to fails with this error.
  int RefusedAfter(const std::function<bool()>& change, const std::string& error) const {
    return InChild([&] {
      if (!change()) return kOtherwise;
      const std::string said = WhatOf<JournalError>([&] { ConvertIfOld(journal_, {}); });
      const bool as_said = said.find(error) != std::string::npos;
      if (!as_said) std::cerr << "said: " << said << '\n';
      return as_said ? kAsSaid : kOtherwise;
    });
  }

  const OldGroup group_;
  const std::string journal_ = group_.Path();
  const std::string old_ = group_.Path(".~old");
  const std::string temporary_ = group_.Path(".~tmp");
};

TEST_P(RefusedConversion, BecauseOfAWriter) {
  RecordFileInfo info;
  ASSERT_EQ(ProbeRecordFile(journal_, &info), 0);
  CDbFile writer;
  ASSERT_EQ(
      writer.Init(journal_, info.magic.c_str(), info.record_size, info.capacity, mode::kWrite), 0);
  ExpectNotConverted(kBusy);
}

TEST_P(RefusedConversion, BecauseTheFileIsCut) {
  std::filesystem::resize_file(journal_, std::filesystem::file_size(journal_) - 1);
  ExpectRefusal("cannot open journal " + journal_ +
                ": the record file is shorter than its header says");
}

TEST_P(RefusedConversion, BecauseOfWhatIsAtTheTemporaryPath) {
  for (const std::string& path : {temporary_, temporary_ + ".~new"}) {
    std::filesystem::create_directory(path);
    ExpectRefusal(path + " is in the way: it is a directory; move it away");
    std::filesystem::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    ExpectRefusal(path + " is in the way: it is not a regular file; move it away");
    std::filesystem::remove(path);
    const std::string precious = group_.directory() + "/precious";
    WriteText(precious, "precious");
    std::filesystem::create_symlink(precious, path);
    ExpectRefusal(path + " is in the way: it is a symbolic link; move it away");
    std::filesystem::remove(path);
    std::filesystem::create_hard_link(precious, path);
    ExpectRefusal(path + " is in the way: the file there has other names as well; move it away");
    std::filesystem::remove(path);
    WriteText(path, "precious");
    ExpectRefusal(path + " is in the way: it is not a record file; move it away");
    std::filesystem::remove(path);
  }
}

TEST_P(RefusedConversion, BecauseSomethingHasTheNameToKeepItBy) {
  WriteText(group_.Path(".pre-v4"), "precious");
  const auto before = Snapshot(group_.directory());
  GroupOptions options = group_.Options();
  options.keep_old = true;
  EXPECT_EQ(group_.ErrorOfOpening(options),
            "cannot convert journal " + journal_ + ": the old file cannot be kept as " +
                group_.Path(".pre-v4") + ": something of that name is there");
  EXPECT_EQ(Snapshot(group_.directory()), before);
}

TEST_P(RefusedConversion, BecauseTheDirectoryCannotBeWritten) {
  ASSERT_EQ(chmod(journal_.c_str(), 0666), 0);
  ASSERT_EQ(chmod(group_.directory().c_str(), 0555), 0);
  const auto before = Snapshot(group_.directory());
  EXPECT_EQ(RefusedAfter(BecomeOrdinaryUser, "must be written for that: permission denied"),
            kAsSaid);
  ASSERT_EQ(chmod(group_.directory().c_str(), 0755), 0);
  EXPECT_EQ(Snapshot(group_.directory()), before);
}

TEST_P(RefusedConversion, BecauseTheFileCannotBeWritten) {
  ASSERT_EQ(chmod(group_.directory().c_str(), 0777), 0);
  ASSERT_EQ(chmod(journal_.c_str(), 0444), 0);
  const auto before = Snapshot(group_.directory());
  EXPECT_EQ(RefusedAfter(BecomeOrdinaryUser, journal_ + " must be written for that: permission"),
            kAsSaid);
  EXPECT_EQ(Snapshot(group_.directory()), before);
}

// It takes two users: a test that is not run by root knows only one.
TEST_P(RefusedConversion, BecauseItBelongsToAnotherUser) {
  ASSERT_EQ(chmod(group_.directory().c_str(), 0777), 0);
  ASSERT_EQ(chmod(journal_.c_str(), 0666), 0);
  const bool is_another = geteuid() == 0;
  const char* const error =
      is_another ? "it belongs to another user, who has to convert it" : "nothing was thrown";
  EXPECT_EQ(RefusedAfter(BecomeOrdinaryUser, error), kAsSaid);
  EXPECT_THAT(Snapshot(group_.directory()), testing::SizeIs(2));
}

TEST_P(RefusedConversion, BecauseALeftoverBelongsToAnotherUser) {
  WriteText(temporary_, "");
  const uid_t other = geteuid() == 0 ? 65534 : geteuid();
  ASSERT_EQ(chown(temporary_.c_str(), other, static_cast<gid_t>(-1)), 0);
  if (geteuid() == 0) {
    ExpectRefusal(temporary_ + " is in the way: it belongs to another user; move it away");
  } else {
    EXPECT_TRUE(group_.Open()) << "it is this user's own";
  }
}

TEST_P(RefusedConversion, DoesNotHappenToRootBecauseALeftoverIsTheOwners) {
  const uid_t owner = geteuid() == 0 ? 65534 : geteuid();
  WriteText(temporary_, "");
  for (const std::string& path : {journal_, temporary_}) {
    ASSERT_EQ(chown(path.c_str(), owner, static_cast<gid_t>(-1)), 0);
  }
  EXPECT_EQ(group_.Open()->records, 5U);
}

TEST_P(RefusedConversion, BecauseTheFileCannotBeRead) {
  ASSERT_EQ(chmod(group_.directory().c_str(), 0777), 0);
  ASSERT_EQ(chmod(journal_.c_str(), 0), 0);
  EXPECT_EQ(RefusedAfter(BecomeOrdinaryUser, journal_ + ": permission denied"), kAsSaid);
}

// A user may mount in a name space of his own, where the system allows him that.
bool MountReadOnly(const std::string& directory) {
  const int spaces = geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER;
  const char* const path = directory.c_str();
  return unshare(spaces) == 0 && mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount(path, path, nullptr, MS_BIND, nullptr) == 0 &&
         mount("", path, nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) == 0;
}

TEST_P(RefusedConversion, BecauseTheFileSystemIsReadOnly) {
  const auto before = Snapshot(group_.directory());
  bool may_mount = true;
  if (geteuid() != 0) {
    may_mount = InChild([this] { return MountReadOnly(group_.directory()) ? 1 : 0; }) == 1;
  }
  // Where nothing can be mounted, the code that the system would give has to do.
  const int refused = may_mount ? RefusedAfter([this] { return MountReadOnly(group_.directory()); },
                                               "for that: the file system is mounted read-only")
                                : ResultFromErrno(EROFS) - kReadOnlyDisk;
  EXPECT_EQ(refused, kAsSaid);
  EXPECT_EQ(Snapshot(group_.directory()), before);
}

bool LimitFilesTo(std::uint64_t bytes) {
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit = {bytes, bytes};
  return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

TEST_P(RefusedConversion, BecauseTheNewFileHasNoRoom) {
  const auto before = Snapshot(group_.directory());
  EXPECT_EQ(RefusedAfter([] { return LimitFilesTo(20000); },
                         "cannot make " + temporary_ + ": the file would exceed the size limit"),
            kAsSaid);
  EXPECT_EQ(Snapshot(group_.directory()), before);
}

TEST_P(RefusedConversion, BecauseTheNewFileCannotGrowPutsTheOldOneBack) {
  constexpr int kCount = 16000;  // the second MiB of the old file, and a bit into that of the new
  std::filesystem::remove(journal_);
  MakeOld(journal_, GetParam(), kCount, kNoBound);
  const auto before = Snapshot(group_.directory());
  EXPECT_EQ(RefusedAfter([] { return LimitFilesTo(1100000); }, "the old file is there as before"),
            kAsSaid);
  EXPECT_EQ(Snapshot(group_.directory()), before);
  EXPECT_EQ(group_.Open()->records, static_cast<std::uint64_t>(kCount));
}

TEST_P(RefusedConversion, LeavesNoCatalogueBehind) {
  std::filesystem::create_directory(temporary_);
  std::filesystem::remove(group_.directory() + "/lan.group");
  EXPECT_NE(group_.ErrorOfOpening(), "nothing was thrown");
  EXPECT_THAT(Snapshot(group_.directory()),
              ElementsAre(testing::Key("lan.journal"), testing::Key("lan.journal.~tmp")));
}

TEST_P(RefusedConversion, IsForgottenOnceTheObstacleIsGone) {
  std::filesystem::create_directory(temporary_);
  EXPECT_NE(group_.ErrorOfOpening(), "nothing was thrown");
  std::filesystem::remove(temporary_);
  EXPECT_EQ(group_.Open()->records, 5U);
  EXPECT_EQ(NumbersIn(journal_, GetParam()), Numbers(0, 5));
}

INSTANTIATE_TEST_SUITE_P(Formats, RefusedConversion,
                         testing::Values(JournalFormat::k3, JournalFormat::k41),
                         [](const auto& row) {
                           return row.param == JournalFormat::k3 ? "Format3" : "Format41";
                         });

}  // namespace
}  // namespace packetdb::host::test
