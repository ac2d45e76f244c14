// The names of a conversion: what is taken away from them, and what never is.
#include "host/journals/conversion_files.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <unistd.h>

#include "host/journals/conversion_settle.h"
#include "host/record_file/modes.h"
#include "packetdb/journal_format.h"
#include "platform/record_file.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

class NamesOfAConversion : public testing::Test {
 protected:
  HeldFile Hold() const { return std::move(*HeldFile::Hold(files_.journal, files_.journal)); }

  const OldGroup group_;
  const ConversionFiles files_{group_.Path()};
};

TEST_F(NamesOfAConversion, AreTakenBackAllOfThem) {
  MakeOld(files_.journal, JournalFormat::k3, 5);
  std::filesystem::create_hard_link(files_.journal, files_.old);
  std::filesystem::create_hard_link(files_.journal, files_.kept);
  MakeRecordFile(files_.temporary, kJournalMagic, kJournalRecordSize);
  Abandon(files_, Hold(), false);
  EXPECT_THAT(NamesIn(group_.directory()), ElementsAre("lan.journal"));
}

TEST_F(NamesOfAConversion, AreTakenBackOnlyFromTheOldFile) {
  MakeOld(files_.journal, JournalFormat::k3, 5);
  MakeOld(files_.kept, JournalFormat::k3, 5);
  Abandon(files_, Hold(), false);
  EXPECT_THAT(NamesIn(group_.directory()), ElementsAre("lan.journal", "lan.journal.pre-v4"));
}

TEST_F(NamesOfAConversion, StayWhenTheyAreOlderThanIt) {
  MakeOld(files_.journal, JournalFormat::k3, 5);
  std::filesystem::create_hard_link(files_.journal, files_.kept);
  Abandon(files_, Hold(), true);
  EXPECT_THAT(NamesIn(group_.directory()), ElementsAre("lan.journal", "lan.journal.pre-v4"));
}

TEST_F(NamesOfAConversion, StayWhileTheyAreTheOnlyOnes) {
  MakeOld(files_.journal, JournalFormat::k3, 5);
  const HeldFile old = Hold();
  std::filesystem::rename(files_.journal, files_.old);
  Abandon(files_, old, false);
  EXPECT_THAT(NamesIn(group_.directory()), ElementsAre("lan.journal.~old"));
}

TEST_F(NamesOfAConversion, StayWithAFileThatIsBeingWritten) {
  MakeRecordFile(files_.temporary, kJournalMagic, kJournalRecordSize);
  CDbFile busy;
  ASSERT_EQ(busy.Init(files_.temporary, kJournalMagic, kJournalRecordSize, 1000, mode::kWrite), 0);
  RemoveLeftover(files_.temporary, geteuid());
  EXPECT_TRUE(IsThere(files_.temporary));
  busy.Done();
  RemoveLeftover(files_.temporary, geteuid());
  EXPECT_FALSE(IsThere(files_.temporary));
}

TEST_F(NamesOfAConversion, StayWithWhatNoConversionMade) {
  WriteText(group_.Path(".precious"), "precious");
  std::filesystem::create_hard_link(group_.Path(".precious"), files_.temporary);
  RemoveLeftover(files_.temporary, geteuid());
  EXPECT_TRUE(IsThere(files_.temporary));
}

TEST_F(NamesOfAConversion, StayWithAFileThatIsNoRecordFile) {
  WriteText(files_.temporary, "my notes");
  RemoveLeftover(files_.temporary, geteuid());
  EXPECT_EQ(ReadText(files_.temporary), "my notes");
}

TEST_F(NamesOfAConversion, GoWithARecordFileThatWasJustBegun) {
  for (const std::string& begun : {std::string(), std::string(5000, '\0')}) {
    WriteText(files_.unborn, begun);
    RemoveLeftover(files_.unborn, geteuid());
    EXPECT_FALSE(IsThere(files_.unborn));
  }
}

TEST_F(NamesOfAConversion, AreNotGivenAwayWhileAnOldFileIsThere) {
  MakeRecordFile(files_.temporary, kJournalMagic, kJournalRecordSize);
  MakeOld(files_.old, JournalFormat::k3, 5);
  const auto before = Snapshot(group_.directory());
  std::optional<Conversion> conversion;
  EXPECT_TRUE(AdoptTemporary(files_, &conversion)) << "worth another look";
  EXPECT_FALSE(conversion);
  EXPECT_EQ(Snapshot(group_.directory()), before);
}

TEST_F(NamesOfAConversion, MayBeNobodys) {
  std::optional<Conversion> conversion;
  EXPECT_FALSE(AdoptTemporary(files_, &conversion));
  EXPECT_FALSE(IsThere(files_.journal));
}

}  // namespace
}  // namespace packetdb::host::test
