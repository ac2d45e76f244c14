#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

#include "host/cli/usage_error.h"
#include "host/record_file/state.h"
#include "host/record_file/superblock.h"
#include "packetdb/journal_format.h"
#include "tests/host/cli/checking.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

template <class Page>
std::string BytesOf(const Page& page) {
  return {reinterpret_cast<const char*>(&page), sizeof page};
}

using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(Check, AJournalThatAWriterLeftIsClean) {
  Store(path_, {RecordAt(0), RecordAt(0), RecordAt(5)});
  const Ran ran = RunText();
  EXPECT_EQ(ran.status, kExitOk);
  EXPECT_EQ(ran.out, path_ +
                         ": clean: 0 places damaged, 0 warnings, 0 notes; 3 records of format 4 "
                         "read\n");
  EXPECT_EQ(ran.err, "");
}

TEST_F(Check, ADamagedJournalSaysWhere) {
  Store(path_, {RecordAt(0)});
  Overwrite(path_, kPadding, "x");
  const Ran ran = RunText();
  EXPECT_EQ(ran.status, kExitDamaged);
  EXPECT_EQ(
      ran.out,
      "byte 8192       damage  state: the state page is damaged: its checksum does not go with it\n"
      "byte 8212       damage  padding: the padding of the state page is not all zeros (1 byte)\n" +
          path_ + ": damaged: 2 places damaged, 0 warnings, 0 notes; 1 record of format 4 read\n");
  EXPECT_EQ(ran.err, "");
}

TEST_F(Check, TellsTheSameAsJson) {
  Store(path_, {RecordAt(0)});
  Overwrite(path_, kPadding, "x");
  const Ran ran = RunJson();
  EXPECT_EQ(ran.status, kExitDamaged);
  nlohmann::json expected = nlohmann::json::parse(R"({
    "result": "damaged", "writer": false, "format": "4", "records_read": 1,
    "records_overwritten": 0, "records_damaged": 0, "records_lost": 0,
    "records_missing": 0, "damage": 2, "warnings": 0, "notes": 0, "findings_left_out": 0,
    "findings": [{"position": 8192, "severity": "damage", "kind": "state"},
                 {"position": 8212, "severity": "damage", "kind": "padding"}]})");
  expected["file"] = path_;
  expected["findings"][0]["text"] = "the state page is damaged: its checksum does not go with it";
  expected["findings"][1]["text"] = "the padding of the state page is not all zeros (1 byte)";
  EXPECT_EQ(nlohmann::json::parse(ran.out), expected);
}

TEST_F(Check, AJournalThatIsBeingWrittenIsInUse) {
  CDbFile writer;
  OpenToWrite(writer, path_, JournalFormat::k4, 10);
  AppendTo(writer, JournalFormat::k4, RecordAt(0));
  EXPECT_EQ(RunText().status, kExitInUse);
  EXPECT_THAT(RunText().out, HasSubstr(": no damage, but a writer has it open: "));
  EXPECT_EQ(Json()["result"], "in_use");
  Overwrite(path_, kPadding, "x");
  EXPECT_EQ(RunText().status, kExitDamaged) << "damage counts for more";
}

TEST_F(Check, WarningsAreNotCalledClean) {
  Store(path_, {RecordAt(10), RecordAt(9)});
  const Ran ran = RunText();
  EXPECT_EQ(ran.status, kExitOk);
  EXPECT_THAT(ran.out, HasSubstr("\n" + path_ +
                                 ": no damage, 1 warning, 0 notes; 2 records of format 4 read\n"));
  EXPECT_EQ(Json()["result"], "clean");
  EXPECT_EQ(Json()["warnings"], 1);
}

TEST_F(Check, NotesWhatAConversionLeftBesideIt) {
  Store(path_, {RecordAt(0)});
  std::ofstream(path_ + ".~old") << "x";
  std::ofstream(path_ + ".~tmp") << "x";
  EXPECT_EQ(RunText().status, kExitOk);
  EXPECT_THAT(Findings(),
              ElementsAre(Found{0, "note", "conversion"}, Found{0, "note", "conversion"}));
  EXPECT_THAT(RunText().out, HasSubstr("its name with .~old behind: a conversion was "
                                       "interrupted or is under way; packetdb convert settles"));
}

TEST_F(Check, AMissingJournalWhoseConversionWasInterruptedSaysSo) {
  Store(path_ + ".~old", {RecordAt(0)}, 10, JournalFormat::k3);
  const Ran ran = RunText();
  EXPECT_EQ(ran.status, kExitFailed);
  EXPECT_EQ(ran.err, "packetdb: " + path_ +
                         ": it does not exist, but its .~old file does: its conversion was "
                         "interrupted; complete it with packetdb convert " +
                         path_ + "\n");
}

TEST_F(Check, NamesTheErrorOfASystemCall) {
  const Ran ran = Observe([] { return RunCheck({"/proc/self/mem", "text"}); });  // no byte 0
  EXPECT_EQ(ran.status, kExitFailed);
  EXPECT_EQ(ran.err, "packetdb: /proc/self/mem: a system call failed: Input/output error\n");
}

TEST_F(Check, ListsDamageBeforeWarnings) {
  std::vector<PacketDbItemPacked> records;
  for (std::uint32_t i = 0; i < 1500; ++i) records.push_back(RecordAt(i % 2));
  records.push_back(RecordAt(1, 0));
  Store(path_, records, 2000);
  const std::vector<Found> findings = Findings();
  ASSERT_EQ(findings.size(), 750U);
  EXPECT_EQ(findings[0], (Found{At(1500) + kCount, "damage", "count"}));
}

TEST_F(Check, NoNumberOfWarningsKeepsDamageFromBeingListed) {
  std::vector<PacketDbItemPacked> records;
  for (std::uint32_t i = 0; i < 2100; ++i) records.push_back(RecordAt(i % 2));
  records.push_back(RecordAt(1, 0));
  Store(path_, records, 3000);
  EXPECT_THAT(RunText().out, HasSubstr("\nand 49 more: warning\n"));
  const std::vector<Found> findings = Findings();
  EXPECT_EQ(findings.size(), kMostFindings + 1);
  EXPECT_EQ(std::get<1>(findings[0]), "damage");
}

TEST_F(Check, CountsTheFindingsThatItDoesNotList) {
  std::vector<PacketDbItemPacked> records(1200, RecordAt(0, 0));
  Store(path_, records, 2000);
  EXPECT_THAT(RunText().out, HasSubstr("\nand 200 more: damage\n"));
  const nlohmann::json check = Json();
  EXPECT_EQ(check["damage"], 1200);
  EXPECT_EQ(check["findings"].size(), kMostFindings);
  EXPECT_EQ(check["findings_left_out"], 200);
}

TEST_F(Check, RefusesARecordFileThatIsNoJournal) {
  CDbFile file;
  ASSERT_EQ(file.Init(path_, "Zolrak-Packet-Database-4", 80, 10, 5), 0);
  file.Done();
  const Ran ran = RunText();
  EXPECT_EQ(ran.status, kExitFailed);
  EXPECT_EQ(ran.out, "");
  EXPECT_THAT(ran.err, HasSubstr("no journal: its magic is 'Zolrak-Packet-Database-4' and its "
                                 "records have 80 bytes\n"));
}

TEST_F(Check, RefusesADamagedRecordFileThatIsNoJournal) {
  CDbFile file;
  ASSERT_EQ(file.Init(path_, "Weather", 80, 10, 5), 0);
  file.Done();
  std::filesystem::resize_file(path_, 50000);
  EXPECT_EQ(RunText().status, kExitFailed);
  EXPECT_THAT(RunText().err, HasSubstr("its magic is 'Weather'"));
}

// A superblock and a state page that are sound, of a file that would have a terabyte.
TEST_F(Check, CountsWhatIsMissingWithoutLookingForIt) {
  const RecordFormat format = {kJournalMagic, kJournalRecordSize, kMaxRecords};
  const Superblock block = MakeSuperblock(format, 0);
  const StatePage state = MakeState(kMaxRecords, 0);
  constexpr std::uint64_t kSlots = 6;
  WriteText(path_, std::string(kCellsOffset + kCellSize, '\0'));
  Overwrite(path_, kSuperblockAOffset, BytesOf(block));
  Overwrite(path_, kSuperblockBOffset, BytesOf(block));
  Overwrite(path_, kStateOffset, BytesOf(state));
  const nlohmann::json check = Json();
  EXPECT_EQ(check["result"], "damaged");
  EXPECT_EQ(check["records_missing"], kMaxRecords - kSlots);
}

TEST_F(Check, RefusesAnUnknownOutputFormat) {
  EXPECT_EQ(WhatOf<UsageError>([&] {
              RunCheck({path_, "table"});
            }),
            "'table' is not an output format: give text or json");
}

}  // namespace
}  // namespace packetdb::host::test
