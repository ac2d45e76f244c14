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
  EXPECT_THAT(FindingsIn(RecordAt(0, 0)), ElementsAre(Found{At(0) + kCount, "damage", "count"}));
}

TEST_F(Check, FindsCountsThatDiffer) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_CountCopy = 2;
  EXPECT_THAT(FindingsIn(record), ElementsAre(Found{At(0) + kCountCopy, "damage", "count_copy"}));
}

TEST_F(Check, FindsARecordThatEndsBeforeItBegins) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_FirstTime += 1;
  EXPECT_THAT(FindingsIn(record), ElementsAre(Found{At(0) + kLastTime, "damage", "times"}));
}

TEST_F(Check, WarnsOfTimesThatGoBack) {
  Store(path_, {RecordAt(10), RecordAt(9), RecordAt(9), RecordAt(11), RecordAt(10)});
  EXPECT_EQ(RunText().status, kExitOk);
  EXPECT_THAT(Findings(), ElementsAre(Found{At(1) + kFirstTime, "warning", "order"},
                                      Found{At(4) + kFirstTime, "warning", "order"}));
  EXPECT_THAT(RunText().out, HasSubstr(fmt::format("record 4: it was first seen at {}, before "
                                                   "record 3 at {}: ",
                                                   kStart + 10, kStart + 11)));
}

TEST_F(Check, OneTimeFromTheFutureBlamesNoLaterRecord) {
  std::vector<PacketDbItemPacked> records(500, RecordAt(0));
  records[1] = RecordAt(1000000);
  Store(path_, records, 500);
  EXPECT_THAT(Findings(), ElementsAre(Found{At(2) + kFirstTime, "warning", "order"}));
}

TEST_F(Check, ADamagedTimeSaysNothingAboutOtherRecords) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_FirstTime |= 0x80000000;
  EXPECT_THAT(FindingsIn(record), ElementsAre(Found{At(0) + kLastTime, "damage", "times"}));
}

TEST_F(Check, ConvertedRecordsOfFormat3AreSound) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_Dword38 = record.m_PacketSize = 0;
  EXPECT_THAT(FindingsIn(record), IsEmpty());
}

TEST_F(Check, WarnsOfRecordsThatTheLibraryAloneConvertedFromFormat3) {
  PacketDbItemPacked record = RecordAt(0);
  record.m_LastTime = record.m_Dword38 = record.m_PacketSize = 0;
  EXPECT_THAT(FindingsIn(record), ElementsAre(Found{At(0) + kLastTime, "warning", "times"}));
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
  EXPECT_THAT(FindingsIn(record), ElementsAre(Found{At(0) + kDword23, "warning", "reserved_field"},
                                              Found{At(0) + kByte2B, "warning", "reserved_field"}));
  EXPECT_THAT(RunText().out, HasSubstr("record 0: its m_Byte2B is 7, not 0\n"));
}

TEST_F(Check, ExpectsOfFormat3WhatItHas) {
  PacketDbItemPacked record = RecordAt(0, 0);
  record.m_CountCopy = record.m_Dword23 = record.m_Byte2B = 5;
  EXPECT_THAT(FindingsIn(record, JournalFormat::k3),
              ElementsAre(Found{At(0) + kCount, "damage", "count"}));
}

TEST_F(Check, FindsThePlacesOfFormat41) {
  PacketDbItemPacked record = RecordAt(0, 0);
  record.m_FirstTime += 1;
  EXPECT_THAT(FindingsIn(record, JournalFormat::k41),
              ElementsAre(Found{At(0) + kCount - 8, "damage", "count"},
                          Found{At(0) + kLastTime - 8, "damage", "times"}));
}

TEST_F(Check, AnInterruptedOverwriteIsNoDamage) {
  CDbFile writer;
  OpenToWrite(writer, path_, JournalFormat::k4, 10);
  AppendTo(writer, JournalFormat::k4, RecordAt(0));
  const PacketDbItemPacked merged = RecordAt(0, 9);
  ASSERT_EQ(writer.WriteRecord(0, &merged), 0);
  const std::string copy = directory_.Path("copy.journal");
  std::filesystem::copy_file(path_, copy);  // as a kill leaves it
  Overwrite(copy, At(0), "xxxx");
  const Ran ran = Observe([&] { return RunCheck({copy, "text"}); });
  EXPECT_EQ(ran.status, kExitOk);
  EXPECT_THAT(ran.out, HasSubstr(": clean: 0 places damaged, 0 warnings, 2 notes; 1 record of"));
}

TEST_F(Check, ReadsNoRecordsBehindTwoDamagedSuperblocks) {
  Store(path_, {RecordAt(0)});
  Overwrite(path_, 64, "xx");
  EXPECT_EQ(RunText().status, kExitDamaged);
  EXPECT_THAT(RunText().out, HasSubstr("; 1 record of format 4 read\n")) << "one is enough";
  Overwrite(path_, kPageSize + 64, "xx");
  EXPECT_EQ(RunText().status, kExitDamaged);
  EXPECT_THAT(RunText().out, HasSubstr("; its records were not read\n"));
  EXPECT_TRUE(Json()["format"].is_null());
}

TEST_F(Check, ReadsTheRecordsThatATruncatedFileStillHas) {
  std::vector<PacketDbItemPacked> records(9, RecordAt(0));
  records[1] = RecordAt(0, 0);
  Store(path_, records);
  std::filesystem::resize_file(path_, At(6) + 10);
  EXPECT_EQ(RunText().status, kExitDamaged);
  EXPECT_THAT(RunText().out,
              HasSubstr("; 6 records of format 4 read, 3 beyond the end of the file\n"));
  EXPECT_EQ(Json()["records_missing"], 3);
  EXPECT_THAT(Findings(), ElementsAre(Found{At(6) + 10, "damage", "length"},
                                      Found{At(1) + kCount, "damage", "count"}));
}

TEST_F(Check, TellsDamagedRecordsFromLostOnes) {
  Store(path_, {RecordAt(0), RecordAt(1), RecordAt(2), RecordAt(3)});
  Overwrite(path_, At(1), "y");
  Overwrite(path_, At(2), std::string(80, '\0'));
  EXPECT_EQ(RunText().status, kExitDamaged);
  EXPECT_THAT(RunText().out, HasSubstr("; 2 records of format 4 read, 1 damaged, 1 lost\n"));
  EXPECT_EQ(Json()["records_damaged"], 1);
  EXPECT_EQ(Json()["records_lost"], 1);
  EXPECT_THAT(Findings(),
              ElementsAre(Found{At(1), "damage", "frame"}, Found{At(2), "damage", "frame"}));
}

}  // namespace
}  // namespace packetdb::host::test
