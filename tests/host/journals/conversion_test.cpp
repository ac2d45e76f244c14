// Opening a journal of an earlier format for writing converts it, and loses nothing.
#include "host/journals/conversion.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <ostream>
#include <sys/stat.h>
#include <unistd.h>

#include "host/journals/error.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"

namespace packetdb::host {

void PrintTo(JournalFormat format, std::ostream* out) { *out << FormatName(format); }

namespace test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class OldJournal : public testing::TestWithParam<JournalFormat> {
 protected:
  void Make(int count, int capacity = 1000) { MakeOld(group_.Path(), GetParam(), count, capacity); }
  std::vector<int> Converted() const { return NumbersIn(group_.Path(), GetParam()); }
  void ExpectNothingLeftOver() const {
    EXPECT_THAT(NamesIn(group_.directory()), ElementsAre("lan.group", "lan.journal"));
  }
  RecordFileInfo Info() const {
    RecordFileInfo info;
    EXPECT_EQ(ProbeRecordFile(group_.Path(), &info), 0);
    return info;
  }

  const OldGroup group_;
};

TEST_P(OldJournal, IsConvertedWithEveryRecordInOrder) {
  for (const int count : {0, 1, 2, 101}) {
    Make(count);
    const auto conversion = group_.Open();
    ASSERT_TRUE(conversion) << count;
    EXPECT_EQ(conversion->from, GetParam());
    EXPECT_EQ(conversion->records, static_cast<std::uint64_t>(count));
    EXPECT_EQ(conversion->kept, "");
    EXPECT_EQ(Converted(), Numbers(0, count));
    ExpectNothingLeftOver();
  }
}

TEST_P(OldJournal, ThatHasWrappedKeepsWhatItKept) {
  Make(25, 10);
  EXPECT_EQ(group_.Open()->records, 10U);
  EXPECT_EQ(Converted(), Numbers(15, 25));
  EXPECT_EQ(Info().capacity, 10U);
}

TEST_P(OldJournal, WithoutABoundStaysWithoutOne) {
  Make(7, kNoBound);
  EXPECT_EQ(group_.Open()->records, 7U);
  EXPECT_EQ(Converted(), Numbers(0, 7));
  EXPECT_EQ(Info().capacity, 0U);
}

TEST_P(OldJournal, IsConvertedOnceAndThenIsToday) {
  Make(3);
  EXPECT_TRUE(group_.Open());
  EXPECT_FALSE(group_.Open());
  EXPECT_EQ(Converted(), Numbers(0, 3));
}

TEST_P(OldJournal, TakesEventsAtOnce) {
  Make(3);
  {
    GroupWriter writer(group_.Options());
    EXPECT_EQ(writer.RecordCount(), 3);
    writer.Add(EventFrom(7, 5000), "lan0");
    EXPECT_EQ(writer.RecordCount(), 4);
  }
  EXPECT_EQ(+RecordsIn(group_.Path()).back().m_FirstTime, 5000U);
  EXPECT_FALSE(group_.Open());
}

TEST_P(OldJournal, IsKeptOnRequest) {
  Make(3);
  const std::string before = ReadText(group_.Path());
  GroupOptions options = group_.Options();
  options.keep_old = true;
  EXPECT_EQ(group_.Open(options)->kept, group_.Path(".pre-v4"));
  EXPECT_EQ(ReadText(group_.Path(".pre-v4")), before);
  EXPECT_EQ(Converted(), Numbers(0, 3));
  EXPECT_THAT(NamesIn(group_.directory()),
              ElementsAre("lan.group", "lan.journal", "lan.journal.pre-v4"));
}

TEST_P(OldJournal, TakesItsOwnCapacity) {
  Make(3, 10);
  GroupOptions options = group_.Options();
  options.capacity = 10;
  EXPECT_EQ(group_.Open(options)->records, 3U);
}

TEST_P(OldJournal, IsConvertedAndThenResized) {
  Make(9, 10);
  GroupOptions options = group_.Options();
  options.capacity = 5;
  EXPECT_EQ(group_.Open(options)->records, 9U);
  EXPECT_EQ(Info().capacity, 5U);
  EXPECT_EQ(Converted(), Numbers(4, 9));
}

TEST_P(OldJournal, KeepsItsBoundWhenNoneIsAskedFor) {
  Make(3, 10);
  GroupOptions options = group_.Options();
  options.capacity = kNoBound;
  EXPECT_EQ(group_.Open(options)->records, 3U);
  EXPECT_EQ(Info().capacity, 10U);
}

TEST_P(OldJournal, WithoutABoundGetsOneWhenItIsAskedFor) {
  Make(3, kNoBound);
  GroupOptions options = group_.Options();
  options.capacity = 10;
  EXPECT_EQ(group_.Open(options)->records, 3U);
  EXPECT_EQ(Info().capacity, 10U);
  EXPECT_EQ(Converted(), Numbers(0, 3));
}

TEST_P(OldJournal, KeepsItsModeSoThatItsReadersStay) {
  for (const mode_t mode : {0600U, 0644U}) {
    Make(1);
    ASSERT_EQ(chmod(group_.Path().c_str(), mode), 0);
    ASSERT_TRUE(group_.Open());
    struct stat status {};
    ASSERT_EQ(stat(group_.Path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, mode);
  }
}

// Root converts for the user that the journal belongs to.
TEST_P(OldJournal, KeepsItsOwnerAndItsGroup) {
  Make(1);
  const uid_t owner = geteuid() == 0 ? 65534 : geteuid();
  const gid_t group = geteuid() == 0 ? 65533 : getegid();
  ASSERT_EQ(chown(group_.Path().c_str(), owner, group), 0);
  ASSERT_TRUE(group_.Open());
  struct stat status {};
  ASSERT_EQ(stat(group_.Path().c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, owner);
  EXPECT_EQ(status.st_gid, group);
}

TEST_P(OldJournal, AtAPathWithoutADirectoryIsConverted) {
  Make(2);
  const std::filesystem::path here = std::filesystem::current_path();
  std::filesystem::current_path(group_.directory());
  EXPECT_EQ(ConvertIfOld("lan.journal", {})->records, 2U);
  std::filesystem::current_path(here);
  EXPECT_EQ(Converted(), Numbers(0, 2));
}

TEST_P(OldJournal, IsDescribedWithWhatBecameOfIt) {
  const std::string format(FormatName(GetParam()));
  EXPECT_EQ(Describe({GetParam(), 101, ""}, "a.journal"),
            "journal a.journal was of format " + format + ": 101 records converted to format 4");
  EXPECT_EQ(Describe({GetParam(), 1, "b"}, "a.journal"),
            "journal a.journal was of format " + format +
                ": 1 record converted to format 4; the old file is kept as b");
}

INSTANTIATE_TEST_SUITE_P(Formats, OldJournal,
                         testing::Values(JournalFormat::k3, JournalFormat::k41),
                         [](const auto& row) {
                           return row.param == JournalFormat::k3 ? "Format3" : "Format41";
                         });

TEST(OldJournalOfFormat3, IsFoundByTheTimesThatItKnows) {
  const OldGroup group;
  MakeOld(group.Path(), JournalFormat::k3, 5);
  group.Open();
  DbFileStorage storage;
  ASSERT_EQ(storage.Init(group.Path(), 1000, 0, 60), 0);
  DbItemSelection selection;
  storage.ReadPackets(TIME_1980_OFFSET + 20, TIME_1980_OFFSET + 40, "", selection);
  storage.Done();
  EXPECT_EQ(selection.size(), 3U) << "those of the seconds 20, 30 and 40";
}

TEST(NoOldJournal, IsNotTouched) {
  const OldGroup group;
  EXPECT_FALSE(ConvertIfOld(group.Path(), {}));
  EXPECT_FALSE(std::filesystem::exists(group.Path()));
  EXPECT_FALSE(group.Open());
  const auto before = Snapshot(group.directory());
  EXPECT_FALSE(ConvertIfOld(group.Path(), {}));
  EXPECT_EQ(Snapshot(group.directory()), before);
}

}  // namespace
}  // namespace test
}  // namespace packetdb::host
