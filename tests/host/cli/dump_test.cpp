#include <gmock/gmock.h>

#include "host/cli/dump_command.h"
#include "host/cli/record_printer.h"
#include "host/cli/usage_error.h"
#include "host/journals/journal_record.h"
#include "host/record_file/layout.h"
#include "tests/host/cli/captured.h"
#include "tests/host/cli/examining.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class Dump : public Examining {
 protected:
  Dump() { options_.path = path_; }

  Ran RunIt() const {
    return Observe([this] { return RunDump(options_); });
  }
  std::vector<nlohmann::json> Json() {
    options_.output = "json";
    const Ran ran = RunIt();
    EXPECT_EQ(ran.status, kExitOk) << ran.err;
    return ParseLines(ran.out);
  }
  std::vector<std::uint64_t> Numbers() {
    std::vector<std::uint64_t> numbers;
    const auto records = Json();
    for (const nlohmann::json& record : records) {
      numbers.push_back(record["record"]);
    }
    return numbers;
  }
  std::string UsageErrorOf(const std::string& from, const std::string& to) {
    options_.from = from;
    options_.to = to;
    return WhatOf<UsageError>([this] { RunDump(options_); });
  }

  DumpOptions options_;
};

TEST_F(Dump, PrintsEveryField) {
  PacketDbItemPacked record = RecordAt(0, 3);
  record.m_LastTime += 60;
  Store(path_, {record});
  EXPECT_EQ(RunIt().out,
            "record 0, byte 12288\n"
            "  m_AdapterNameHash  17297757506775570040\n"
            "  m_SrcIp            167772161  10.0.0.1\n"
            "  m_DstIp            167772162  10.0.0.2\n"
            "  m_Flags            33  in+dropped\n"
            "  m_ErrorCode        1\n"
            "  m_Word10           2048\n"
            "  m_Protocol         17  udp\n"
            "  m_SrcPort          40000\n"
            "  m_DstPort          53\n"
            "  m_SrcId            7\n"
            "  m_DstId            8\n"
            "  m_Dword1F          31\n"
            "  m_Dword23          0\n"
            "  m_Count            3\n"
            "  m_Byte2B           0\n"
            "  m_CountCopy        3\n"
            "  m_FirstTime        1284467200  2020-09-13 12:26:40\n"
            "  m_LastTime         1284467260  2020-09-13 12:27:40\n"
            "  m_Dword38          56\n"
            "  m_PacketSize       120\n");
}

TEST_F(Dump, PrintsEveryFieldAsJson) {
  Store(path_, {RecordAt(0, 3)});
  EXPECT_THAT(Json(), ElementsAre(nlohmann::json::parse(R"({
    "record": 0, "state": "whole", "byte": 12288, "format": "4",
    "m_AdapterNameHash": 17297757506775570040, "m_SrcIp": 167772161, "m_DstIp": 167772162,
    "m_Flags": 33, "m_ErrorCode": 1, "m_Word10": 2048, "m_Protocol": 17, "m_SrcPort": 40000,
    "m_DstPort": 53, "m_SrcId": 7, "m_DstId": 8, "m_Dword1F": 31, "m_Dword23": 0, "m_Count": 3,
    "m_Byte2B": 0, "m_CountCopy": 3, "m_FirstTime": 1284467200, "m_LastTime": 1284467200,
    "m_Dword38": 56, "m_PacketSize": 120, "src": "10.0.0.1", "dst": "10.0.0.2",
    "flags": ["in", "dropped"], "protocol": "udp",
    "first_seen": "2020-09-13T12:26:40+00:00", "first_seen_unix": 1600000000,
    "last_seen": "2020-09-13T12:26:40+00:00", "last_seen_unix": 1600000000})")));
}

TEST_F(Dump, PrintsTheBytesOffsetByOffset) {
  Store(path_, {RecordAt(0)});
  options_.hex = true;
  EXPECT_THAT(RunIt().out, HasSubstr("\n  0000  78 56 34 12 ce fa 0d f0 01 00 00 0a 02 00 00 0a\n"
                                     "  0010  21 00 00 00 01 00 00 00 00 08 11 40 9c 35 00 07\n"));
  EXPECT_THAT(RunIt().out, HasSubstr("\n  0040  38 00 00 00 28 00 00 00\n"));
  const std::string digits = Json()[0]["hex"];
  EXPECT_EQ(digits.size(), 144U);
  EXPECT_EQ(digits.substr(0, 24), "78563412cefa0df00100000a");
}

TEST_F(Dump, PrintsTheFieldsThatFormat3Has) {
  Store(path_, {RecordAt(0)}, 10, JournalFormat::k3);
  const nlohmann::json record = Json().front();
  EXPECT_EQ(record["format"], "3");
  EXPECT_EQ(record["m_FirstTime"], kStart);
  EXPECT_EQ(record["m_AdapterNameHash"], 0xF00DFACE12345678);
  for (const char* key : {"m_LastTime", "m_Dword38", "m_PacketSize", "last_seen"}) {
    EXPECT_FALSE(record.contains(key)) << key;
  }
  options_.output = "text";
  EXPECT_THAT(RunIt().out, Not(HasSubstr("m_LastTime")));
}

TEST_F(Dump, PrintsTheFieldsThatFormat41Has) {
  Store(path_, {RecordAt(0)}, 10, JournalFormat::k41);
  const nlohmann::json record = Json().front();
  EXPECT_EQ(record["format"], "4.1");
  EXPECT_EQ(record["m_PacketSize"], 40);
  EXPECT_EQ(record["src"], "10.0.0.1");
  EXPECT_FALSE(record.contains("m_AdapterNameHash"));
}

TEST_F(Dump, FieldsCoverEveryByteOfEachFormat) {
  const std::pair<JournalFormat, std::size_t> sizes[] = {
      {JournalFormat::k3, 60}, {JournalFormat::k41, 64}, {JournalFormat::k4, 72}};
  for (const auto& [format, size] : sizes) {
    std::size_t end = 0;
    for (const RecordField& field : FieldsOf(format)) {
      EXPECT_EQ(OffsetIn(format, field.offset), end) << field.name;
      end += field.size;
    }
    EXPECT_EQ(end, size);
  }
}

TEST_F(Dump, PrintsOldestFirst) {
  Store(path_, {RecordAt(0), RecordAt(1), RecordAt(2), RecordAt(3)}, 3);
  EXPECT_THAT(Numbers(), ElementsAre(1, 2, 3));
}

TEST_F(Dump, PrintsARangeWithBothItsEnds) {
  Store(path_, {RecordAt(0), RecordAt(1), RecordAt(2), RecordAt(3)});
  options_.from = "1";
  EXPECT_THAT(Numbers(), ElementsAre(1, 2, 3));
  options_.to = "0x2";
  EXPECT_THAT(Numbers(), ElementsAre(1, 2));
  options_.from = "";
  EXPECT_THAT(Numbers(), ElementsAre(0, 1, 2));
}

TEST_F(Dump, SaysThatARangeHoldsNothing) {
  Store(path_, {RecordAt(0), RecordAt(1)});
  options_.from = "2";
  const Ran ran = RunIt();
  EXPECT_EQ(ran.status, kExitOk);
  EXPECT_EQ(ran.out, "");
  EXPECT_EQ(ran.err, "packetdb: " + path_ + ": it holds none of these records, only 0 to 1\n");
}

TEST_F(Dump, SaysThatAJournalIsEmpty) {
  Store(path_, {});
  const Ran ran = RunIt();
  EXPECT_EQ(ran.status, kExitOk);
  EXPECT_EQ(ran.err, "packetdb: " + path_ + ": it holds no records\n");
}

TEST_F(Dump, RefusesRangesThatMakeNoSense) {
  EXPECT_THAT(UsageErrorOf("x", ""), HasSubstr("'x' is not the number of a record"));
  EXPECT_THAT(UsageErrorOf("", "-1"), HasSubstr("'-1' is not the number of a record"));
  EXPECT_THAT(UsageErrorOf("9223372036854775808", ""), HasSubstr("is not the number of a record"));
  EXPECT_EQ(UsageErrorOf("3", "2"), "the range of records is empty: --from is beyond --to");
}

TEST_F(Dump, NamesDamagedRecordsAndLostOnes) {
  Store(path_, {RecordAt(0), RecordAt(1), RecordAt(2), RecordAt(3)});
  constexpr std::uint64_t kFrame = 80;
  Overwrite(path_, kCellsOffset + kFrame, "y");
  Overwrite(path_, kCellsOffset + 2 * kFrame, std::string(kFrame, '\0'));
  const Ran ran = RunIt();
  EXPECT_EQ(ran.status, kExitDamaged);
  EXPECT_THAT(ran.out,
              HasSubstr("\nrecord 1, damaged: what is stored does not go with its checksum\n"
                        "record 2, lost: not flushed to the disk before the machine "
                        "stopped\nrecord 3, byte "));
  EXPECT_EQ(ran.err, "packetdb: " + path_ + ": a record is damaged; packetdb check tells more\n");
  Overwrite(path_, kCellsOffset + 3 * kFrame, "y");
  EXPECT_THAT(RunIt().err, HasSubstr(": 2 records are damaged; packetdb check tells more\n"));
}

TEST_F(Dump, TellsRunsOfRecordsThatWereOverwrittenMeanwhile) {
  EXPECT_EQ(Printed([](std::FILE* out) {
              PrintUnread(RecordFate::kGone, 4, 4, OutputFormat::kText, out);
              PrintUnread(RecordFate::kGone, 5, 900, OutputFormat::kText, out);
              PrintUnread(RecordFate::kDamaged, 901, 901, OutputFormat::kText, out);
              PrintUnread(RecordFate::kGone, 5, 900, OutputFormat::kJson, out);
              PrintUnread(RecordFate::kDamaged, 901, 901, OutputFormat::kJson, out);
            }),
            "record 4, gone: overwritten by newer ones meanwhile\n"
            "records 5 to 900, gone: overwritten by newer ones meanwhile\n"
            "record 901, damaged: what is stored does not go with its checksum\n"
            "{\"record\":5,\"last_record\":900,\"state\":\"gone\"}\n"
            "{\"record\":901,\"last_record\":901,\"state\":\"damaged\"}\n");
}

TEST_F(Dump, RefusesARecordFileThatIsNoJournal) {
  CDbFile file;
  ASSERT_EQ(file.Init(path_, "Weather", 72, 10, 5), 0);
  file.Done();
  const Ran ran = RunIt();
  EXPECT_EQ(ran.status, kExitFailed);
  EXPECT_EQ(ran.out, "");
  EXPECT_THAT(ran.err, HasSubstr("no journal"));
}

TEST_F(Dump, RefusesAnUnknownOutputFormat) {
  options_.output = "table";
  EXPECT_THROW(RunDump(options_), UsageError);
}

}  // namespace
}  // namespace packetdb::host::test
