#include "tests/host/record_file/page.h"

#include <algorithm>
#include <ostream>
#include <sstream>

namespace packetdb::host {

namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
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

}  // namespace

void PrintTo(const Field& field, std::ostream* out) {
  *out << field.offset << " " << field.size << " " << field.name;
}

std::vector<std::string> Section(const std::string& heading) {
  const Bytes page = ReadBytes(std::string(PACKETDB_SOURCE_DIR) + "/docs/journal_format.md");
  const std::vector<std::string> lines = Lines({page.begin(), page.end()});
  const auto begin = std::find(lines.begin(), lines.end(), "## " + heading);
  if (begin == lines.end()) return {};
  const auto end = std::find_if(begin + 1, lines.end(),
                                [](const std::string& line) { return line.rfind("## ", 0) == 0; });
  return {begin + 1, end};
}

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

std::vector<std::vector<std::string>> Rows(const std::string& heading, std::size_t columns) {
  std::vector<std::vector<std::string>> rows;
  for (const std::string& line : Section(heading)) {
    std::vector<std::string> cells = Cells(line);
    if (cells.size() == columns) rows.push_back(std::move(cells));
  }
  return rows;
}

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

}  // namespace packetdb::host
