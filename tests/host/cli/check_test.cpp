#include <gmock/gmock.h>
#include <ostream>
#include <tuple>

#include "host/cli/check_command.h"
#include "host/cli/usage_error.h"
#include "tests/host/cli/examining.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Position, severity and kind.
using Found = std::tuple<std::uint64_t, std::string, std::string>;

constexpr std::uint64_t kSlots = 8192;
constexpr std::uint64_t kCount = 0x2F;  // offsets in a record of format 4
constexpr std::uint64_t kCountCopy = 0x34;
constexpr std::uint64_t kFirstTime = 0x38;
constexpr std::uint64_t kLastTime = 0x3C;

class Check : public Examining {
 protected:
  Ran RunText() const {
    return Observe([this] { return RunCheck({path_, "text"}); });
  }
  Ran RunJson() const {
    return Observe([this] { return RunCheck({path_, "json"}); });
  }
  nlohmann::json Json() const { return nlohmann::json::parse(RunJson().out); }
  std::vector<Found> Findings() const {
    std::vector<Found> found;
    const nlohmann::json check = Json();
    for (const nlohmann::json& finding : check["findings"]) {
      found.emplace_back(finding["position"], finding["severity"], finding["kind"]);
    }
    return found;
  }
  // The findings in a journal of one record, followed by a sound one.
  std::vector<Found> FindingsIn(const PacketDbItemPacked& record,
                                JournalFormat format = JournalFormat::k4) {
    Store(path_, {record, RecordAt(10)}, 10, format);
    return Findings();
  }
};

TEST_F(Check, AJournalThatAWriterLeftIsClean) {
  Store(path_, {RecordAt(0), RecordAt(0), RecordAt(5)});
  const Ran ran = RunText();
  EXPECT_EQ(ran.status, kExitOk);
  EXPECT_EQ(ran.out, path_ +
                         ": clean: 0 places damaged, 0 warnings, 0 notes; 3 records of format 4 "
                         "read\n");
  EXPECT_EQ(ran.err, "");
}

TEST_F(Check, JournalsOfEarlierFormatsAreClean) {
  for (const JournalFormat format : {JournalFormat::k3, JournalFormat::k41}) {
    const std::string path = directory_.Path(FormatName(format));
    Store(path, {RecordAt(0), RecordAt(5)}, 10, format);
    const Ran ran = Observe([&] { return RunCheck({path, "text"}); });
    EXPECT_EQ(ran.status, kExitOk) << ran.out;
    EXPECT_THAT(ran.out, HasSubstr(": clean: "));
  }
}

TEST_F(Check, ADamagedJournalSaysWhere) {
  Store(path_, {RecordAt(0)});
  Overwrite(path_, 4104, "x");
  const Ran ran = RunText();
  EXPECT_EQ(ran.status, kExitDamaged);
  EXPECT_EQ(ran.out,
            "byte 4104       damage  padding: the padding of the state is not all zeros\n" + path_ +
                ": damaged: 1 place damaged, 0 warnings, 0 notes; 1 record of format 4 read\n");
  EXPECT_EQ(ran.err, "");
}

TEST_F(Check, TellsTheSameAsJson) {
  Store(path_, {RecordAt(0)});
  Overwrite(path_, 4104, "x");
  const Ran ran = RunJson();
  EXPECT_EQ(ran.status, kExitDamaged);
  EXPECT_EQ(nlohmann::json::parse(ran.out), nlohmann::json::parse(R"({
    "result": "damaged", "writer": false, "format": "4", "records_read": 1,
    "records_overwritten": 0, "records_unstable": 0, "damage": 1, "warnings": 0, "notes": 0,
    "findings": [{"position": 4104, "severity": "damage", "kind": "padding",
                  "text": "the padding of the state is not all zeros"}],
    "findings_left_out": 0, "file": ")" + path_ + R"("})"));
}

TEST_F(Check, AJournalThatIsBeingWrittenIsInUse) {
  CDbFile writer;
  OpenToWrite(writer, path_, JournalFormat::k4, 10);
  AppendTo(writer, JournalFormat::k4, RecordAt(0));
  EXPECT_EQ(RunText().status, kExitInUse);
  EXPECT_THAT(RunText().out, HasSubstr(": no damage, but a writer has it open: "));
  EXPECT_EQ(Json()["result"], "in_use");
  Overwrite(path_, 4104, "x");
  EXPECT_EQ(RunText().status, kExitDamaged) << "damage counts for more";
}

TEST_F(Check, FindsARecordOfNoPacket) {
  EXPECT_THAT(FindingsIn(RecordAt(0, 0)), ElementsAre(Found{kSlots + kCount, "damage", "count"}));
}

TEST_F(Check, FindsCountsThatDiffer) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_CountCopy = 2;
  EXPECT_THAT(FindingsIn(record), ElementsAre(Found{kSlots + kCountCopy, "damage", "count_copy"}));
}

TEST_F(Check, FindsARecordThatEndsBeforeItBegins) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_FirstTime += 1;
  EXPECT_THAT(FindingsIn(record), ElementsAre(Found{kSlots + kLastTime, "damage", "times"}));
}

TEST_F(Check, WarnsOfTimesThatGoBack) {
  Store(path_, {RecordAt(10), RecordAt(9), RecordAt(9), RecordAt(10)});
  EXPECT_EQ(RunText().status, kExitOk);
  EXPECT_THAT(Findings(), ElementsAre(Found{kSlots + 72 + kFirstTime, "warning", "order"},
                                      Found{kSlots + 144 + kFirstTime, "warning", "order"}));
}

TEST_F(Check, ADamagedTimeSaysNothingAboutOtherRecords) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_FirstTime |= 0x80000000;
  EXPECT_THAT(FindingsIn(record), ElementsAre(Found{kSlots + kLastTime, "damage", "times"}));
}

TEST_F(Check, ConvertedRecordsOfFormat3AreSound) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_LastTime = record.m_Dword38 = record.m_PacketSize = 0;
  EXPECT_THAT(FindingsIn(record), IsEmpty());
}

TEST_F(Check, ExpectsOfFormat3WhatItHas) {
  PacketDbItemPacked record = RecordAt(0, 0);
  record.m_CountCopy = 5;
  EXPECT_THAT(FindingsIn(record, JournalFormat::k3),
              ElementsAre(Found{kSlots + kCount, "damage", "count"}));
}

TEST_F(Check, FindsThePlacesOfFormat41) {
  PacketDbItemPacked record = RecordAt(0, 0);
  record.m_FirstTime += 1;
  EXPECT_THAT(FindingsIn(record, JournalFormat::k41),
              ElementsAre(Found{kSlots + kCount - 8, "damage", "count"},
                          Found{kSlots + kLastTime - 8, "damage", "times"}));
}

TEST_F(Check, FindsWhatIsWrongWithTheRedoRecord) {
  Store(path_, {RecordAt(0), RecordAt(1)});
  Overwrite(path_, 4160, "\x01");  // record 0 is the one in the redo record, which is all zeros
  EXPECT_EQ(RunText().status, kExitDamaged);
  EXPECT_THAT(Findings(), ElementsAre(Found{4160, "note", "redo_pending"},
                                      Found{4224 + kCount, "damage", "count"}));
}

TEST_F(Check, AnInterruptedOverwriteIsClean) {
  Store(path_, {RecordAt(0), RecordAt(1)});
  Overwrite(path_, 4160, "\x01");
  Overwrite(path_, 4224, StoredAs(JournalFormat::k4, RecordAt(0, 9)));
  EXPECT_EQ(RunText().status, kExitOk);
  EXPECT_THAT(RunText().out, HasSubstr(": clean: 0 places damaged, 0 warnings, 1 note; "));
}

TEST_F(Check, ReadsNoRecordsBehindADamagedHeader) {
  Store(path_, {RecordAt(0)});
  Overwrite(path_, 64, "x");
  EXPECT_EQ(RunText().status, kExitDamaged);
  EXPECT_THAT(RunText().out, HasSubstr("; its records were not read\n"));
  EXPECT_TRUE(Json()["format"].is_null());
}

TEST_F(Check, CountsTheFindingsThatItDoesNotList) {
  std::vector<PacketDbItemPacked> records(1200, RecordAt(0, 0));
  Store(path_, records, 2000);
  EXPECT_THAT(RunText().out, HasSubstr("\nand 200 more\n"));
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

TEST_F(Check, RefusesAnUnknownOutputFormat) {
  EXPECT_EQ(WhatOf<UsageError>([&] {
              RunCheck({path_, "table"});
            }),
            "'table' is not an output format: give text or json");
}

}  // namespace
}  // namespace packetdb::host::test
