// What a conversion that was interrupted left, and what the next writer makes of it.
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/journals/conversion.h"
#include "host/journals/error.h"
#include "host/record_file/descriptor.h"
#include "host/record_file/modes.h"
#include "packetdb/journal_format.h"
#include "platform/record_file.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"
#include "tests/host/record_file/child.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr JournalFormat kOld = JournalFormat::k41;

class InterruptedConversion : public testing::Test {
 protected:
  InterruptedConversion() {
    WriteText(group_.directory() + "/lan.group", "packetdb-group 1\nwindow 60\n");
  }

  // What a conversion makes of `count` records, with room for `capacity`.
  void MakeConverted(const std::string& path, int count, int capacity = 1000) const {
    const std::string elsewhere = group_.Path(".elsewhere");
    MakeOld(elsewhere, kOld, count, capacity);
    ASSERT_TRUE(ConvertIfOld(elsewhere, {}));
    std::filesystem::rename(elsewhere, path);
  }
  void ExpectAllIsWell(int count) const {
    EXPECT_EQ(NumbersIn(group_.Path(), kOld), Numbers(0, count));
    EXPECT_THAT(NamesIn(group_.directory()), ElementsAre("lan.group", "lan.journal"));
  }
  void ExpectRefusal(const std::string& reason) const {
    const auto before = Snapshot(group_.directory());
    EXPECT_THAT(group_.ErrorOfOpening(), HasSubstr(reason));
    EXPECT_EQ(Snapshot(group_.directory()), before);
  }

  const OldGroup group_;
  const std::string journal_ = group_.Path();
  const std::string old_ = group_.Path(".~old");
  const std::string temporary_ = group_.Path(".~tmp");
};

TEST_F(InterruptedConversion, BeforeTheOldFileWasRemovedGoesOn) {
  MakeOld(journal_, kOld, 5);
  std::filesystem::create_hard_link(journal_, old_);
  MakeConverted(temporary_, 3);
  EXPECT_EQ(group_.Open()->records, 5U);
  ExpectAllIsWell(5);
}

TEST_F(InterruptedConversion, BeforeTheNewFileGotItsNameIsDoneAnew) {
  MakeOld(old_, kOld, 5);
  MakeConverted(temporary_, 5);
  EXPECT_EQ(group_.Open()->records, 5U);
  ExpectAllIsWell(5);
}

TEST_F(InterruptedConversion, ThatLeftNothingButTheSecondNameIsDoneAnew) {
  MakeOld(old_, kOld, 5);
  EXPECT_EQ(group_.Open()->records, 5U);
  ExpectAllIsWell(5);
}

TEST_F(InterruptedConversion, BeforeTheSecondNameWasRemovedIsCompleted) {
  MakeOld(old_, kOld, 5);
  MakeConverted(journal_, 5);
  const ino_t converted = Snapshot(group_.directory())["lan.journal"].inode;
  EXPECT_EQ(group_.Open()->records, 5U);
  EXPECT_EQ(Snapshot(group_.directory())["lan.journal"].inode, converted) << "not made anew";
  ExpectAllIsWell(5);
}

TEST_F(InterruptedConversion, IsCompletedWithTheOldFileKept) {
  MakeOld(old_, kOld, 5);
  MakeConverted(journal_, 5);
  const std::string before = ReadText(old_);
  GroupOptions options = group_.Options();
  options.keep_old = true;
  EXPECT_EQ(group_.Open(options)->kept, group_.Path(".pre-v4"));
  EXPECT_EQ(ReadText(group_.Path(".pre-v4")), before);
  EXPECT_FALSE(std::filesystem::exists(old_));
}

TEST_F(InterruptedConversion, RemembersThatTheOldFileIsToBeKept) {
  MakeOld(old_, kOld, 5);
  std::filesystem::create_hard_link(old_, group_.Path(".pre-v4"));
  EXPECT_EQ(group_.Open()->kept, group_.Path(".pre-v4"));
  EXPECT_TRUE(std::filesystem::exists(group_.Path(".pre-v4")));
}

TEST_F(InterruptedConversion, GoesOnWithTheOldFileToBeKept) {
  MakeOld(journal_, kOld, 5);
  std::filesystem::create_hard_link(journal_, old_);
  std::filesystem::create_hard_link(journal_, group_.Path(".pre-v4"));
  GroupOptions options = group_.Options();
  options.keep_old = true;
  EXPECT_EQ(group_.Open(options)->kept, group_.Path(".pre-v4"));
}

TEST_F(InterruptedConversion, IsTakenBackAlsoWhenItCannotBeDoneAnew) {
  MakeOld(old_, kOld, 5);
  MakeConverted(temporary_, 5);
  WriteText(group_.Path(".pre-v4"), "taken");
  GroupOptions options = group_.Options();
  options.keep_old = true;
  EXPECT_THAT(group_.ErrorOfOpening(options), HasSubstr("cannot be kept"));
  EXPECT_TRUE(std::filesystem::exists(journal_) || std::filesystem::exists(old_));
}

TEST_F(InterruptedConversion, ThatCopiedOnlySomeIsDoneAnew) {
  MakeOld(old_, kOld, 5);
  MakeConverted(journal_, 3);
  EXPECT_EQ(group_.Open()->records, 5U);
  ExpectAllIsWell(5);
}

TEST_F(InterruptedConversion, ThatCopiedNothingIsDoneAnew) {
  MakeOld(old_, kOld, 5);
  MakeConverted(journal_, 0);
  EXPECT_EQ(group_.Open()->records, 5U);
  ExpectAllIsWell(5);
}

TEST_F(InterruptedConversion, BesideAJournalThatHasGrownIsCompleted) {
  MakeOld(old_, kOld, 5);
  MakeConverted(journal_, 7);
  EXPECT_EQ(group_.Open()->records, 5U);
  ExpectAllIsWell(7);
}

TEST_F(InterruptedConversion, BesideAJournalOfOtherRecordsTouchesNeither) {
  MakeOld(old_, kOld, 5);
  GroupOptions options = group_.Options();
  options.group = "other";
  GroupWriter(options).Add(EventFrom(7, 5000), "lan0");
  std::filesystem::rename(group_.directory() + "/other.journal", journal_);
  ExpectRefusal("holds other records; move one of the two away");
}

TEST_F(InterruptedConversion, BesideAnotherOldJournalTouchesNeither) {
  MakeOld(old_, kOld, 5);
  MakeOld(journal_, kOld, 5);
  ExpectRefusal("is another file, and no journal of format 4; move one of the two away");
}

TEST_F(InterruptedConversion, BesideADamagedJournalTouchesNeither) {
  MakeOld(old_, kOld, 5);
  WriteText(journal_, "precious");
  ExpectRefusal("cannot be used: it is not a record file; move one of the two away");
}

TEST_F(InterruptedConversion, WithADamagedOldFileTouchesNeither) {
  MakeConverted(journal_, 5);
  WriteText(old_, "precious");
  ExpectRefusal("cannot open journal " + old_ + ": it is not a record file");
}

TEST_F(InterruptedConversion, WithAnOldFileOfTodayTouchesNeither) {
  MakeConverted(journal_, 5);
  MakeConverted(old_, 5);
  ExpectRefusal(old_ + " is in the way: ");
}

TEST_F(InterruptedConversion, WithASecondNameThatIsALinkElsewhereTouchesNothing) {
  const std::string elsewhere = group_.directory() + "/elsewhere";
  MakeOld(elsewhere, kOld, 5);
  std::filesystem::create_symlink(elsewhere, old_);
  ExpectRefusal(old_ + " is in the way: it is a symbolic link; move it away");
  MakeOld(journal_, kOld, 5);
  ExpectRefusal(old_ + " is in the way: it is a symbolic link; move it away");
}

TEST_F(InterruptedConversion, WithAFifoOrADirectoryAsSecondNameTouchesNothing) {
  MakeOld(journal_, kOld, 5);
  ASSERT_EQ(mkfifo(old_.c_str(), 0600), 0);
  ExpectRefusal(old_ + " is in the way: it is not a regular file; move it away");
  std::filesystem::remove(old_);
  std::filesystem::create_directory(old_);
  ExpectRefusal(old_ + " is in the way: it is a directory; move it away");
}

TEST_F(InterruptedConversion, ThatLacksOnlyTheNameGetsIt) {
  MakeConverted(temporary_, 5);
  const auto conversion = group_.Open();
  ASSERT_TRUE(conversion);
  EXPECT_EQ(Describe(*conversion, "a.journal"),
            "journal a.journal was missing: the converted file that had not got its name yet is "
            "there now, with 5 records");
  ExpectAllIsWell(5);
}

TEST_F(InterruptedConversion, GivesTheTimesThatFormat3HadNotAlsoToAFileWithoutItsName) {
  const OldGroup group;
  MakeOld(group.Path(), JournalFormat::k3, 5);
  DbFileStorage storage;
  ASSERT_EQ(storage.Init(group.Path(), 1000, 1, 0), 0);  // as a host without our care
  storage.Done();
  std::filesystem::rename(group.Path(), group.Path(".~tmp"));
  group.Open();
  EXPECT_EQ(NumbersIn(group.Path(), JournalFormat::k3), Numbers(0, 5));
}

TEST_F(InterruptedConversion, DoesNotGiveTheNameToAFileInTheMaking) {
  MakeConverted(temporary_, 5);
  CDbFile busy;
  ASSERT_EQ(busy.Init(temporary_, kJournalMagic, kJournalRecordSize, 1000, mode::kWrite), 0);
  ExpectRefusal("is in use by another process");
}

TEST_F(InterruptedConversion, DoesNotGiveTheNameToSomethingElse) {
  MakeOld(temporary_, kOld, 5);
  ExpectRefusal("cannot take its place: it is a sound record file, but of another magic");
  WriteText(temporary_, "precious");
  ExpectRefusal("cannot take its place: it is not a record file");
  std::filesystem::remove(temporary_);
  std::filesystem::create_symlink(group_.directory() + "/elsewhere", temporary_);
  ExpectRefusal("cannot take its place: it is a symbolic link");
}

TEST_F(InterruptedConversion, DoesNotGiveTheNameToAFileWithOtherNames) {
  MakeConverted(temporary_, 5);
  std::filesystem::create_hard_link(temporary_, group_.directory() + "/elsewhere");
  ExpectRefusal(temporary_ + " is in the way: the file there has other names as well");
}

TEST_F(InterruptedConversion, LeavesAStrayTemporaryFileBesideTodaysJournalAlone) {
  MakeConverted(journal_, 5);
  WriteText(temporary_, "precious");
  EXPECT_FALSE(group_.Open());
  EXPECT_EQ(ReadText(temporary_), "precious");
}

TEST_F(InterruptedConversion, ThatIsStillAtWorkElsewhereIsLeftAlone) {
  MakeOld(journal_, kOld, 5);
  std::filesystem::create_hard_link(journal_, old_);
  const Descriptor busy(open(old_.c_str(), O_RDONLY | O_CLOEXEC));
  ASSERT_EQ(flock(busy.get(), LOCK_EX), 0);
  ExpectRefusal("journal " + journal_ + " is in use: another process converts it");
  std::filesystem::remove(old_);
  ExpectRefusal("journal " + journal_ + " is in use: another process converts it");
}

TEST_F(InterruptedConversion, IsSettledByOneOfManyAtOnce) {
  MakeOld(journal_, kOld, 101);
  std::filesystem::create_hard_link(journal_, old_);
  const auto open = [this] {
    for (int i = 0; i < 20; ++i) {
      const std::string error = group_.ErrorOfOpening();
      if (error != "nothing was thrown" && error.find(" in use") == std::string::npos) return 1;
    }
    return 0;
  };
  EXPECT_EQ(InChild([&] {
              const pid_t other = fork();
              const int failures = open();
              if (other == 0) _exit(failures);
              int status = 0;
              return waitpid(other, &status, 0) == other ? failures + status : 1;
            }),
            0);
  ExpectAllIsWell(101);
}

}  // namespace
}  // namespace packetdb::host::test
