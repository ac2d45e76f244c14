// docs/journal_format.md lists the records of all three formats as the code has them, and its
// examples are records that the library converts as the page says.
#include <gmock/gmock.h>

#include "host/record_file/modes.h"
#include "packetdb/journal_format.h"
#include "platform/record_file.h"
#include "tests/host/record_file/page.h"

namespace packetdb::host {
namespace {

using testing::ElementsAreArray;

constexpr int kRead = 0;
constexpr int kWriteMissing = 1 | 4;

std::vector<Field> CurrentFields() {
  const PacketDbItemPacked r = {};
#define FIELD(name) \
  { offsetof(PacketDbItemPacked, name), std::to_string(sizeof r.name), #name }
  return {FIELD(m_AdapterNameHash), FIELD(m_SrcIp),    FIELD(m_DstIp),    FIELD(m_Flags),
          FIELD(m_ErrorCode),       FIELD(m_Word10),   FIELD(m_Protocol), FIELD(m_SrcPort),
          FIELD(m_DstPort),         FIELD(m_SrcId),    FIELD(m_DstId),    FIELD(m_Dword1F),
          FIELD(m_Dword23),         FIELD(m_Count),    FIELD(m_Byte2B),   FIELD(m_CountCopy),
          FIELD(m_FirstTime),       FIELD(m_LastTime), FIELD(m_Dword38),  FIELD(m_PacketSize)};
#undef FIELD
}

// The current fields that lie between two offsets, counted from the first of the two.
std::vector<Field> FieldsBetween(std::size_t begin, std::size_t end) {
  std::vector<Field> fields;
  for (Field field : CurrentFields()) {
    if (field.offset < begin || field.offset >= end) continue;
    field.offset -= begin;
    fields.push_back(field);
  }
  return fields;
}

constexpr std::size_t kBehindHash = kJournalRecordSize - kFormat41RecordSize;

TEST(RecordTables, ListFormat4AsItIs) {
  EXPECT_THAT(Fields("Format 4 records"), ElementsAreArray(CurrentFields()));
}

TEST(RecordTables, ListFormat41AsItIs) {
  EXPECT_THAT(Fields("Format 4.1 records"),
              ElementsAreArray(FieldsBetween(kBehindHash, kJournalRecordSize)));
}

TEST(RecordTables, ListFormat3AsItIs) {
  EXPECT_THAT(Fields("Format 3 records"), ElementsAreArray(FieldsBetween(0, kFormat3RecordSize)));
}

struct Format {
  const char* section;
  const char* magic;
  unsigned long record_size;
};

class RecordExamples : public testing::TestWithParam<Format> {
 protected:
  static Bytes Example(const std::string& section) { return UndoHexDump(Section(section)); }
};

TEST_P(RecordExamples, NameMagicAndRecordSize) {
  std::string text;
  for (const std::string& line : Section(GetParam().section)) text += line + " ";
  if (GetParam().section != std::string("Format 4.1 records")) {
    EXPECT_THAT(text, testing::HasSubstr("`" + std::string(GetParam().magic) + "`"));
  }
  EXPECT_THAT(
      text, testing::HasSubstr("records of " + std::to_string(GetParam().record_size) + " bytes"));
}

TEST_P(RecordExamples, AreWholeRecords) {
  EXPECT_EQ(Example(GetParam().section).size(), GetParam().record_size);
}

// Opens the example as a journal, converted where that is needed, and reads it back.
TEST_P(RecordExamples, BecomeTheRecordsThatThePageSays) {
  Disk disk;
  const std::string path = disk.NewPath();
  const Bytes example = Example(GetParam().section);
  {
    CDbFile file;
    ASSERT_EQ(file.Init(path, GetParam().magic, GetParam().record_size, 2, kWriteMissing), 0);
    ASSERT_EQ(file.AppendRecord(example.data()), 0);
  }
  DbFileStorage storage;
  ASSERT_EQ(storage.Init(path, 2, mode::kWrite, 60), 0);
  storage.Done();
  CDbFile file;
  ASSERT_EQ(file.Init(path, kJournalMagic, kJournalRecordSize, 2, kRead), 0);
  Bytes expected(kJournalRecordSize, 0);
  const std::size_t front = GetParam().record_size == kFormat41RecordSize ? kBehindHash : 0;
  std::copy(example.begin(), example.end(), expected.begin() + static_cast<std::ptrdiff_t>(front));
  Bytes record(kJournalRecordSize, '\xff');
  ASSERT_EQ(file.ReadRecord(0, record.data()), 0);
  EXPECT_EQ(record, expected);
}

INSTANTIATE_TEST_SUITE_P(
    Every, RecordExamples,
    testing::Values(Format{"Format 3 records", kFormat3Magic, kFormat3RecordSize},
                    Format{"Format 4.1 records", kJournalMagic, kFormat41RecordSize},
                    Format{"Format 4 records", kJournalMagic, kJournalRecordSize}),
    [](const auto& each) { return "RecordsOf" + std::to_string(each.param.record_size); });

}  // namespace
}  // namespace packetdb::host
