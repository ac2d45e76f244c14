// docs/journal_format.md says what layout.h says, and its example is a file that can be opened.
#include <algorithm>
#include <gmock/gmock.h>
#include <sstream>

#include "tests/host/record_file/journal.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

struct Field {
  std::size_t offset;
  std::string size;  // a number, or the name of one
  std::string name;
  bool operator==(const Field&) const = default;
};

void PrintTo(const Field& field, std::ostream* out) {
  *out << field.offset << " " << field.size << " " << field.name;
}

template <class T>
Field MakeField(std::size_t offset, const T&, const char* name) {
  return {offset, std::to_string(sizeof(T)), name};
}

std::vector<std::string> Lines(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// The lines below a second-level heading, up to the next one.
std::vector<std::string> Section(const std::string& heading) {
  const Bytes page = ReadBytes(std::string(PACKETDB_SOURCE_DIR) + "/docs/journal_format.md");
  const std::vector<std::string> lines = Lines({page.begin(), page.end()});
  const auto begin = std::find(lines.begin(), lines.end(), "## " + heading);
  if (begin == lines.end()) return {};
  const auto end = std::find_if(begin + 1, lines.end(),
                                [](const std::string& line) { return line.rfind("## ", 0) == 0; });
  return {begin + 1, end};
}

// The cells of a table row, without the marks of code; empty for a line that is no row.
std::vector<std::string> Cells(std::string line) {
  if (line.rfind("| ", 0) != 0) return {};
  line.erase(std::remove(line.begin(), line.end(), '`'), line.end());
  std::vector<std::string> cells;
  std::size_t begin = 2;
  for (std::size_t end = line.find(" |"); end != std::string::npos; end = line.find(" |", begin)) {
    cells.push_back(line.substr(begin, end - begin));
    begin = end + 3;
  }
  return cells;
}

// The rows "| offset | size | field | meaning |" of a section.
std::vector<Field> Fields(const std::string& heading) {
  std::vector<Field> fields;
  for (const std::string& line : Section(heading)) {
    const std::vector<std::string> cells = Cells(line);
    if (cells.size() != 4 || cells[0].find_first_not_of("0123456789") != std::string::npos)
      continue;
    fields.push_back({std::stoul(cells[0]), cells[1], cells[2]});
  }
  return fields;
}

// What `hexdump -C` was given: "offset  bytes  |text|", "*" for repetitions, the length at the end.
Bytes UndoHexDump(const std::vector<std::string>& lines) {
  Bytes bytes;
  Bytes last;
  for (const std::string& line : lines) {
    if (line.find_first_not_of("0123456789abcdef") < 8 || line.size() < 8) continue;
    const std::size_t offset = std::stoul(line.substr(0, 8), nullptr, 16);
    while (!last.empty() && bytes.size() < offset) {
      bytes.insert(bytes.end(), last.begin(), last.end());
    }
    last.clear();
    // The last line, the length, has nothing behind its offset.
    std::istringstream numbers(line.substr(8, std::max<std::size_t>(line.find('|'), 8) - 8));
    for (unsigned int byte = 0; numbers >> std::hex >> byte;) {
      last.push_back(static_cast<char>(byte));
    }
    bytes.insert(bytes.end(), last.begin(), last.end());
  }
  return bytes;
}

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
