// Readers never convert and never touch what a conversion needs; they say what there is to do.
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "host/journals/open_journals.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

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

TEST_F(ReaderOfOldJournals, ServesAJournalThatIsConvertedButNotYetSettled) {
  MakeOld(journal_, JournalFormat::k3, 5);
  const std::string old = group_.Path(".elsewhere");
  MakeOld(old, JournalFormat::k3, 5);
  group_.Open();
  std::filesystem::rename(old, group_.Path(".~old"));
  const auto before = Snapshot(group_.directory());
  const OpenJournals journals(group_.directory());
  EXPECT_THAT(journals.groups(), ElementsAre("lan"));
  EXPECT_THAT(journals.problems(), IsEmpty());
  EXPECT_EQ(Snapshot(group_.directory()), before);
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
