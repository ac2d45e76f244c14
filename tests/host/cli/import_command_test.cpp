#include "host/cli/import_command.h"

#include <ctime>
#include <gmock/gmock.h>

#include "host/cli/usage_error.h"
#include "host/journals/error.h"
#include "packetdb/query.h"
#include "tests/host/cli/import_fixture.h"
#include "tests/host/journals/support.h"
#include "tests/host/sources/capture_writer.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ImportCommand : public Importing {
 protected:
  // The one record of a journal into which one packet was imported.
  PacketDbItemPacked OnlyRecord() {
    const auto records = Records();
    EXPECT_EQ(records.size(), 1U);
    return records.empty() ? PacketDbItemPacked{} : records.front();
  }
};

TEST_F(ImportCommand, SumsUpOnStandardOutput) {
  const ImportResult result = Import({{{.second = 1}, {.second = 2}, {.second = 2, .port = 9}}});
  EXPECT_EQ(result.exit_code, kExitOk);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output,
            "1 capture, 3 packets: 3 events journaled in group all\n"
            "2 records added, 1 repeat merged into them within 60 s; the journal holds 2 "
            "records\n");
}

TEST_F(ImportCommand, CountsOnlyTheRecordsOfThisImportAsAdded) {
  Import({{{.second = 1}}});
  EXPECT_THAT(Import({{{.second = 2}}}).output,
              HasSubstr("\n1 record added, 0 repeats merged into them within 60 s; the journal "
                        "holds 2 records\n"));
}

TEST_F(ImportCommand, CountsTheRecordsAddedToAFullJournal) {
  options_.group.capacity = 2;
  Import({{{.second = 1}, {.second = 1, .port = 2}}});
  EXPECT_THAT(Import({{{.second = 2}, {.second = 2, .port = 2}, {.second = 2, .port = 3}}}).output,
              HasSubstr("\n3 records added, 0 repeats merged into them within 60 s; the journal "
                        "holds 2 records\n"));
}

TEST_F(ImportCommand, JournalsACaptureOfRawPackets) {
  EXPECT_EQ(
      ImportFiles({File("raw", PcapFile(kLinkRaw).Packet(315532800, 0, Udp()).bytes())}).exit_code,
      kExitOk);
  EXPECT_EQ(+OnlyRecord().m_AdapterNameHash, adapter_name_hash("capture"));
  EXPECT_EQ(+OnlyRecord().m_SrcPort, 1000);
  EXPECT_EQ(+OnlyRecord().m_ErrorCode, 60U);
  EXPECT_EQ(+OnlyRecord().m_FirstTime, 0U);
}

TEST_F(ImportCommand, NamesTheInterfaceOfCapturesThatTellNone) {
  options_.interface = "wan7";
  ImportFiles({File("raw", PcapFile(kLinkRaw).Packet(315532800, 0, Udp()).bytes())});
  EXPECT_EQ(+OnlyRecord().m_AdapterNameHash, adapter_name_hash("wan7"));
  EXPECT_EQ(Catalogue(), "packetdb-group 1\nwindow 60\ninterface wan7\n");
}

TEST_F(ImportCommand, PutsTheNamesOfAllInterfacesIntoTheCatalogue) {
  Import({{{.second = 1, .interface = 3}, {.second = 1, .interface = 2}}});
  EXPECT_EQ(Catalogue(), "packetdb-group 1\nwindow 60\ninterface if3\ninterface wan0\n");
}

TEST_F(ImportCommand, AsksTheRulesForTheMeaningOfAPrefix) {
  options_.rules = {"pdb:in:rule:drop=reject:77"};
  Import({{{.second = 1}}});
  EXPECT_EQ(+OnlyRecord().m_ErrorCode, 77U);
  EXPECT_EQ(+OnlyRecord().m_Flags, 0x41U);
}

TEST_F(ImportCommand, AccountsForPacketsThatAreNoEvents) {
  const Bytes ipv6 = Bytes{0x60} + Zeros(39);
  const ImportResult result =
      ImportFiles({File("raw", PcapFile(kLinkRaw).Packet(1, 0, ipv6).Packet(2, 0, Udp()).bytes())});
  EXPECT_EQ(result.exit_code, kExitOk);
  EXPECT_EQ(result.output,
            "1 capture, 2 packets: 1 event journaled in group all\n"
            "1 record added, 0 repeats merged into them within 60 s; the journal holds 1 record\n"
            "not journaled: 1 packet\n"
            "           1  IPv6\n"
            "journaled with a remark:\n"
            "           1  time before 1980\n");
}

TEST_F(ImportCommand, MakesAJournalOfACaptureWithoutPackets) {
  EXPECT_THAT(Import({{}}).output, HasSubstr("the journal holds 0 records\n"));
  EXPECT_EQ(Records().size(), 0U);
}

TEST_F(ImportCommand, LeavesTheClockToTheCalendar) {
  const std::time_t before = std::time(nullptr);
  Import({{{.second = 1}}});
  EXPECT_GE(std::time(nullptr), before);
}

TEST_F(ImportCommand, ChangesNothingWhenACaptureIsMissing) {
  const std::string good = File("good", CaptureOf({{.second = 1}}));
  const std::string missing = directory_.Path("missing");
  const ImportResult result = ImportFiles({good, missing});
  EXPECT_EQ(result.exit_code, kExitFailed);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "packetdb: " + missing + ": cannot open: No such file or directory\n");
  EXPECT_FALSE(AnythingJournaled());
}

TEST_F(ImportCommand, NamesEveryCaptureThatCannotBeUsed) {
  const std::string text = File("notes.txt", Text("these are not the packets that you look for"));
  const std::string empty = File("empty", {});
  const ImportResult result = ImportFiles({text, empty});
  EXPECT_EQ(result.exit_code, kExitFailed);
  EXPECT_THAT(result.errors, testing::StartsWith("packetdb: " + text + ": not a capture file: "));
  EXPECT_THAT(result.errors, HasSubstr("\npacketdb: " + empty + ": is empty\n"));
  EXPECT_FALSE(AnythingJournaled());
}

TEST_F(ImportCommand, ChangesNothingForOptionsThatMakeNoSense) {
  const std::string good = File("good", CaptureOf({{.second = 1}}));
  options_.rules = {"in=maybe"};
  EXPECT_THROW(ImportFiles({good}), UsageError);
  options_.rules.clear();
  options_.interface_names = {"x"};
  EXPECT_THROW(ImportFiles({good}), UsageError);
  options_.interface_names.clear();
  options_.interface = "a b";
  EXPECT_THROW(ImportFiles({good}), UsageError);
  EXPECT_FALSE(AnythingJournaled());
}

TEST_F(ImportCommand, IsRefusedWhileSomebodyElseWritesTheJournal) {
  const GroupWriter writer(options_.group);
  EXPECT_EQ(WhatOf<JournalError>([&] { Import({{{.second = 1}}}); }),
            "cannot open journal " + Journal() +
                ": the record file is in use by another process; try again when that is done");
  EXPECT_EQ(writer.RecordCount(), 0);
}

TEST_F(ImportCommand, KeepsWhatTheJournalHas) {
  Import({{{.second = 1}}});
  options_.group.capacity.reset();
  options_.group.window_seconds.reset();
  EXPECT_EQ(Import({{{.second = 2}}}).exit_code, kExitOk);
  options_.group.window_seconds = 5;
  EXPECT_THAT(WhatOf<JournalError>([&] { Import({{{.second = 3}}}); }),
              HasSubstr(": this group merges repeats within 60 s, not 5 s; "));
  EXPECT_EQ(Records().size(), 2U);
}

}  // namespace
}  // namespace packetdb::host::test
