// What `packetdb check` says of the records of a journal.
#include <filesystem>
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "tests/host/cli/checking.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(Check, JournalsOfEarlierFormatsAreClean) {
  for (const JournalFormat format : {JournalFormat::k3, JournalFormat::k41}) {
    const std::string path = directory_.Path(FormatName(format));
    Store(path, {RecordAt(0), RecordAt(5)}, 10, format);
    const Ran ran = Observe([&] { return RunCheck({path, "text"}); });
    EXPECT_EQ(ran.status, kExitOk) << ran.out;
    EXPECT_THAT(ran.out, HasSubstr(": clean: "));
  }
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
  Store(path_, {RecordAt(10), RecordAt(9), RecordAt(9), RecordAt(11), RecordAt(10)});
  EXPECT_EQ(RunText().status, kExitOk);
  EXPECT_THAT(Findings(), ElementsAre(Found{kSlots + 72 + kFirstTime, "warning", "order"},
                                      Found{kSlots + 4 * 72 + kFirstTime, "warning", "order"}));
  EXPECT_THAT(RunText().out, HasSubstr(fmt::format("record 4: it was first seen at {}, before "
                                                   "record 3 at {}: ",
                                                   kStart + 10, kStart + 11)));
}

TEST_F(Check, OneTimeFromTheFutureBlamesNoLaterRecord) {
  std::vector<PacketDbItemPacked> records(500, RecordAt(0));
  records[1] = RecordAt(1000000);
  Store(path_, records, 500);
  EXPECT_THAT(Findings(), ElementsAre(Found{kSlots + 144 + kFirstTime, "warning", "order"}));
}

TEST_F(Check, ADamagedTimeSaysNothingAboutOtherRecords) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_FirstTime |= 0x80000000;
  EXPECT_THAT(FindingsIn(record), ElementsAre(Found{kSlots + kLastTime, "damage", "times"}));
}

TEST_F(Check, ConvertedRecordsOfFormat3AreSound) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_Dword38 = record.m_PacketSize = 0;
  EXPECT_THAT(FindingsIn(record), IsEmpty());
}

TEST_F(Check, WarnsOfRecordsThatTheLibraryAloneConvertedFromFormat3) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_LastTime = record.m_Dword38 = record.m_PacketSize = 0;
  EXPECT_THAT(FindingsIn(record), ElementsAre(Found{kSlots + kLastTime, "warning", "times"}));
  EXPECT_THAT(RunText().out,
              HasSubstr("record 0: it has no last-seen time; queries by time miss it\n"));
}

TEST_F(Check, ARecordWithoutAnyTimeIsNoWarning) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_FirstTime = record.m_LastTime = 0;
  EXPECT_THAT(FindingsIn(record), IsEmpty());
}

TEST_F(Check, FindsReservedFieldsThatAreUsed) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_Dword23 = 0x01000000;
  record.m_Byte2B = 7;
  EXPECT_THAT(FindingsIn(record),
              ElementsAre(Found{kSlots + kDword23, "warning", "reserved_field"},
                          Found{kSlots + kByte2B, "warning", "reserved_field"}));
  EXPECT_THAT(RunText().out, HasSubstr("record 0: its m_Byte2B is 7, not 0\n"));
}

TEST_F(Check, ExpectsOfFormat3WhatItHas) {
  PacketDbItemPacked record = RecordAt(0, 0);
  record.m_CountCopy = record.m_Dword23 = record.m_Byte2B = 5;
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
  EXPECT_THAT(Findings(), ElementsAre(Found{4224 + kCount, "damage", "count"},
                                      Found{4160, "note", "redo_pending"}));
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

TEST_F(Check, ReadsTheRecordsThatATruncatedFileStillHas) {
  Store(path_, {RecordAt(0), RecordAt(1, 0), RecordAt(2), RecordAt(3)});
  std::filesystem::resize_file(path_, kSlots + 2 * 72 + 10);
  EXPECT_EQ(RunText().status, kExitDamaged);
  EXPECT_THAT(RunText().out,
              HasSubstr("; 2 records of format 4 read, 2 beyond the end of the file\n"));
  EXPECT_EQ(Json()["records_missing"], 2);
  EXPECT_THAT(Findings(), ElementsAre(Found{kSlots + 2 * 72 + 10, "damage", "length"},
                                      Found{kSlots + 72 + kCount, "damage", "count"}));
}

TEST_F(Check, ReadsTheRecordsBesideADamagedRedoWord) {
  Store(path_, {RecordAt(0), RecordAt(1, 0)});
  Overwrite(path_, 4160, "\x7f");
  EXPECT_THAT(Findings(), ElementsAre(Found{4160, "damage", "redo_word"},
                                      Found{kSlots + 72 + kCount, "damage", "count"}));
}

}  // namespace
}  // namespace packetdb::host::test
