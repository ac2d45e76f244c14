// Which journals of a directory the daemon serves.
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

using testing::SizeIs;

constexpr int kNothing = -3;

void Damage(const std::string& path, std::streamoff offset) {
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(offset);
  file << "damage";
  ASSERT_TRUE(file.good());
}

TEST(ServedJournalsTest, EmptyDirectoryIsServedAsNothing) {
  const TemporaryDirectory journals;
  const Daemon daemon(journals.path());
  EXPECT_EQ(Ask(daemon.socket(), QueryOf("edge")).status, kNothing);
}

TEST(ServedJournalsTest, GroupsAnswerForThemselves) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  Journal(journals.path(), "core", {EventAt(0), EventAt(1)});
  const Daemon daemon(journals.path());
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("edge")).rows, SizeIs(1));
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("core")).rows, SizeIs(2));
}

TEST(ServedJournalsTest, InterfaceOfTwoGroupsIsReported) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  Journal(journals.path(), "core", {EventAt(0), EventAt(1)});
  const Daemon daemon(journals.path());
  EXPECT_TRUE(daemon.LogSays("interface eth0 of group edge cannot be asked for"));
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("eth0")).rows, SizeIs(2)) << "the first group's";
}

TEST(ServedJournalsTest, JournalCreatedMeanwhileIsServed) {
  const TemporaryDirectory journals;
  const Daemon daemon(journals.path());
  Journal(journals.path(), "edge", {EventAt(0)});
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("edge")).rows, SizeIs(1));
}

TEST(ServedJournalsTest, DamagedJournalIsReportedAndOthersAreServed) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "broken", {EventAt(0)});
  Journal(journals.path(), "edge", {EventAt(0)});
  for (const int superblock : {0, 4096}) Damage(journals.Path("broken.journal"), superblock + 40);
  const Daemon daemon(journals.path());
  EXPECT_TRUE(daemon.LogSays("cannot open journal " + journals.Path("broken.journal")));
  EXPECT_EQ(Ask(daemon.socket(), QueryOf("broken")).status, kNothing);
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("edge")).rows, SizeIs(1));
}

// Where the frame of a record lies in a journal: six frames of 80 bytes in each cell of 512.
std::streamoff ByteOfRecord(int record) { return 12288 + record / 6 * 512 + record % 6 * 80; }

TEST(ServedJournalsTest, DamagedRecordsAreMissingFromAnAnswerAndNothingElseIs) {
  const TemporaryDirectory journals;
  std::vector<SeenEvent> events;
  for (std::uint32_t i = 0; i < 20; ++i) events.push_back(EventAt(i));
  Journal(journals.path(), "edge", events);
  for (const int record : {3, 4, 17}) Damage(journals.Path("edge.journal"), ByteOfRecord(record));
  const Daemon daemon(journals.path());
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("edge")).rows, SizeIs(17));
  EXPECT_TRUE(daemon.LogSays("met a damaged record"));
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("edge")).rows, SizeIs(17)) << "again";
}

TEST(ServedJournalsTest, JournalThatIsNoneIsReportedAndLeftAlone) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  std::filesystem::copy_file(journals.Path("edge.group"), journals.Path("notes.group"));
  journals.File("notes.journal", "dear diary");
  const Daemon daemon(journals.path());
  EXPECT_TRUE(daemon.LogSays("cannot open journal " + journals.Path("notes.journal")));
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("edge")).rows, SizeIs(1));
  EXPECT_EQ(ReadFile(journals.Path("notes.journal")), "dear diary");
}

TEST(ServedJournalsTest, JournalWithoutItsCatalogueIsReported) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  std::filesystem::remove(journals.Path("edge.group"));
  const Daemon daemon(journals.path());
  EXPECT_TRUE(daemon.LogSays(journals.Path("edge.group") + " is missing"));
}

TEST(ServedJournalsTest, DamagedCatalogueIsReportedWithItsLine) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  journals.File("edge.group", "packetdb-group 1\nwindow 60\ninterface a/b\n");
  const Daemon daemon(journals.path());
  EXPECT_TRUE(daemon.LogSays(journals.Path("edge.group") + ":3: "));
}

}  // namespace
}  // namespace packetdb::host::test
