// Readers never convert and never touch what a conversion needs; they say what there is to do.
#include <atomic>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <sys/stat.h>
#include <thread>

#include "host/journals/open_journals.h"
#include "host/record_file/modes.h"
#include "packetdb/journal_format.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class ReaderOfOldJournals : public testing::Test {
 protected:
  ReaderOfOldJournals() {
    WriteText(group_.directory() + "/lan.group", "packetdb-group 1\nwindow 60\n");
  }

  // The problems of opening the directory, after which everything in it is as it was.
  std::vector<std::string> Problems() const {
    const auto before = Snapshot(group_.directory());
    const OpenJournals journals(group_.directory());
    EXPECT_EQ(Snapshot(group_.directory()), before);
    EXPECT_THAT(journals.groups(), IsEmpty());
    return journals.problems();
  }
  void ExpectInterrupted() const {
    EXPECT_THAT(Problems(), ElementsAre("cannot open journal " + journal_ +
                                        ": it is being converted, or its conversion was "
                                        "interrupted; `packetdb convert " +
                                        journal_ +
                                        "` completes that, and so does the next import into its "
                                        "group"));
  }
  void ExpectOld(const std::string& format) const {
    EXPECT_THAT(Problems(), ElementsAre("cannot open journal " + journal_ + ": it is of format " +
                                        format + "; `packetdb convert " + journal_ +
                                        "` converts it, and so does the next import into its "
                                        "group"));
  }

  const OldGroup group_;
  const std::string journal_ = group_.Path();
};

TEST_F(ReaderOfOldJournals, NamesTheFormatAndWhatConvertsIt) {
  MakeOld(journal_, JournalFormat::k3, 5);
  ExpectOld("3");
  MakeOld(journal_, JournalFormat::k41, 5);
  ExpectOld("4.1");
}

TEST_F(ReaderOfOldJournals, NamesTheFormatAlsoWithoutACatalogue) {
  std::filesystem::remove(group_.directory() + "/lan.group");
  MakeOld(journal_, JournalFormat::k3, 0);
  ExpectOld("3");
}

TEST_F(ReaderOfOldJournals, NamesAGroupThatHasOnlyItsOldFile) {
  MakeOld(group_.Path(".~old"), JournalFormat::k3, 5);
  ExpectInterrupted();
}

TEST_F(ReaderOfOldJournals, NamesAGroupThatHasOnlyATemporaryFile) {
  MakeOld(group_.Path(".~tmp"), JournalFormat::k3, 5);
  ExpectInterrupted();
}

TEST_F(ReaderOfOldJournals, NamesAGroupOnceThatHasBoth) {
  MakeOld(group_.Path(".~old"), JournalFormat::k3, 5);
  MakeOld(group_.Path(".~tmp"), JournalFormat::k3, 5);
  ExpectInterrupted();
}

TEST_F(ReaderOfOldJournals, ServesNoJournalWhoseConversionIsNotSettled) {
  MakeOld(journal_, JournalFormat::k3, 5);
  const std::string old = group_.Path(".elsewhere");
  MakeOld(old, JournalFormat::k3, 5);
  group_.Open();
  std::filesystem::rename(old, group_.Path(".~old"));
  ExpectInterrupted();
}

TEST(ReadOnlyOpening, CannotConvertWhateverIsAtThePath) {
  const OldGroup group;
  for (const JournalFormat format : {JournalFormat::k3, JournalFormat::k41}) {
    MakeOld(group.Path(), format, 5);
    const auto before = Snapshot(group.directory());
    DbFileStorage storage;
    EXPECT_EQ(storage.Init(group.Path(), 1000, mode::kRead | mode::kNeverAnew, 60), kOtherFormat);
    EXPECT_EQ(Snapshot(group.directory()), before);
  }
}

ino_t InodeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_ino;
}

// Puts the file at `from` over the one at `to`, and keeps it at `from`.
void PutOver(const std::string& from, const std::string& to) {
  std::filesystem::create_hard_link(from, to + ".next");
  std::filesystem::rename(to + ".next", to);
}

TEST_F(ReaderOfOldJournals, NeverConvertsOneThatGetsThereBetweenTheLookAndTheOpening) {
  const std::string old = group_.Path(".an-old-one");
  const std::string current = group_.Path(".a-current-one");
  MakeOld(old, JournalFormat::k3, 5);
  MakeRecordFile(current, kJournalMagic, kJournalRecordSize);
  PutOver(old, journal_);
  const std::set<ino_t> known = {InodeOf(old), InodeOf(current)};
  std::atomic<bool> done = false;
  std::thread swapper([&] {
    while (!done) {
      PutOver(current, journal_);
      PutOver(old, journal_);
    }
  });
  for (int i = 0; i < 3000 && !HasFailure(); ++i) {
    const OpenJournals journals(group_.directory());
    EXPECT_THAT(known, Contains(InodeOf(journal_))) << "opening " << i;
  }
  done = true;
  swapper.join();
}

TEST_F(ReaderOfOldJournals, FollowsAndOpensNothingThatIsNoJournal) {
  const std::string elsewhere = group_.directory() + "/elsewhere";
  MakeOld(elsewhere, JournalFormat::k3, 5);
  std::filesystem::create_symlink(elsewhere, journal_);
  EXPECT_THAT(Problems(), ElementsAre("cannot open journal " + journal_ +
                                      ": it is a symbolic link, which is not followed"));
  std::filesystem::remove(journal_);
  ASSERT_EQ(mkfifo(journal_.c_str(), 0600), 0);
  EXPECT_THAT(Problems(),
              ElementsAre("cannot open journal " + journal_ + ": it is not a regular file"));
  std::filesystem::remove(journal_);
  std::filesystem::create_directory(journal_);
  EXPECT_THAT(Problems(), ElementsAre("cannot open journal " + journal_ + ": it is a directory"));
}

}  // namespace
}  // namespace packetdb::host::test
