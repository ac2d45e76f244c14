// docs/journal_format.md says what layout.h says, and its example is a file that can be opened.
#include <gmock/gmock.h>

#include "tests/host/record_file/journal.h"
#include "tests/host/record_file/page.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

TEST(JournalFormatPage, ListsTheHeaderAsItIs) {
  const HeaderPage h = {};
  const std::vector<Field> expected = {
      MakeField(offsetof(HeaderPage, signature), h.signature, "signature"),
      MakeField(offsetof(HeaderPage, layout_version), h.layout_version, "layout_version"),
      MakeField(offsetof(HeaderPage, byte_order_mark), h.byte_order_mark, "byte_order_mark"),
      MakeField(offsetof(HeaderPage, header_length), h.header_length, "header_length"),
      MakeField(offsetof(HeaderPage, record_size), h.record_size, "record_size"),
      MakeField(offsetof(HeaderPage, slot_size), h.slot_size, "slot_size"),
      MakeField(offsetof(HeaderPage, flags), h.flags, "flags"),
      MakeField(offsetof(HeaderPage, capacity), h.capacity, "capacity"),
      MakeField(offsetof(HeaderPage, slot_count), h.slot_count, "slot_count"),
      MakeField(offsetof(HeaderPage, slots_offset), h.slots_offset, "slots_offset"),
      MakeField(offsetof(HeaderPage, first_sequence), h.first_sequence, "first_sequence"),
      MakeField(offsetof(HeaderPage, created_ns), h.created_ns, "created_ns"),
      MakeField(offsetof(HeaderPage, magic), h.magic, "magic"),
      MakeField(offsetof(HeaderPage, reserved), h.reserved, "reserved"),
      MakeField(offsetof(HeaderPage, checksum), h.checksum, "checksum"),
  };
  EXPECT_THAT(Fields("Header page"), ElementsAreArray(expected));
}

TEST(JournalFormatPage, ListsTheStateAsItIs) {
  const StateWords s = {};
  const std::vector<Field> expected = {
      MakeField(kStateOffset + offsetof(StateWords, next), s.next, "next"),
      MakeField(kStateOffset + offsetof(StateWords, padding), s.padding, "padding"),
      MakeField(kStateOffset + offsetof(StateWords, redo), s.redo, "redo"),
      MakeField(kStateOffset + offsetof(StateWords, redo_padding), s.redo_padding, "redo_padding"),
      {kRedoRecordOffset, "slot_size", "redo record"},
  };
  EXPECT_THAT(Fields("State"), ElementsAreArray(expected));
}

// A listing with a gap would leave bytes without a meaning.
TEST(JournalFormatPage, LeavesNoByteOut) {
  std::vector<Field> fields = Fields("Header page");
  const std::vector<Field> state = Fields("State");
  fields.insert(fields.end(), state.begin(), state.end());
  std::size_t end = 0;
  for (const Field& field : fields) {
    EXPECT_EQ(field.offset, end) << field.name;
    if (field.name != "redo record") end += std::stoul(field.size);
  }
  EXPECT_EQ(end, kRedoRecordOffset);
}

TEST(JournalFormatPage, ShowsAFileThatCanBeOpened) {
  Disk disk;
  const std::string path = disk.NewPath();
  WriteBytes(path, UndoHexDump(Section("Example")));
  CDbFile file;
  ASSERT_EQ(Open(file, path, kModeWrite, 2), kRecordFileOk);
  ASSERT_EQ(file.RecordCount(), 2);
  Bytes records(2 * kTestRecordSize);
  ASSERT_EQ(file.ReadRecords(0, records.data(), 2), 2);
  const std::vector<char> packets = {records[47], records[kTestRecordSize + 47]};
  EXPECT_THAT(packets, ElementsAre(3, 1)) << "the packet counts, at byte 47 of a record";
}

TEST(JournalFormatPage, NamesTheConstants) {
  const HeaderPage header = HeaderOf(UndoHexDump(Section("Example")));
  EXPECT_EQ(header.signature, kSignature);
  EXPECT_EQ(header.layout_version, kLayoutVersion);
  EXPECT_EQ(header.byte_order_mark, kByteOrderMark);
  std::string page;
  for (const std::string& line : Section("Header page")) page += line + "\n";
  const auto names = [&](const std::string& text) { return page.find(text) != std::string::npos; };
  EXPECT_TRUE(names("1 to " + std::to_string(kMaxRecordSize) + " |"));
  EXPECT_TRUE(names("1 to " + std::to_string(kMaxRecords) + ";"));
  EXPECT_TRUE(names(std::to_string(kRedoRecordOffset) + " + `slot_size`"));
  EXPECT_TRUE(names("`layout_version` | " + std::to_string(kLayoutVersion) + ";"));
}

}  // namespace
}  // namespace packetdb::host
