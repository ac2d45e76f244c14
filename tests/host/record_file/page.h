// Reading docs/journal_format.md, so that tests can hold it to what the code says.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/host/record_file/disk.h"

namespace packetdb::host {

struct Field {
  std::size_t offset;
  std::string size;  // a number, or the name of one
  std::string name;
  bool operator==(const Field&) const = default;
};

void PrintTo(const Field& field, std::ostream* out);

template <class T>
Field MakeField(std::size_t offset, const T&, const char* name) {
  return {offset, std::to_string(sizeof(T)), name};
}

// The lines below a second-level heading of the page, up to the next one.
std::vector<std::string> Section(const std::string& heading);

// The rows "| offset | size | field | meaning |" of a section.
std::vector<Field> Fields(const std::string& heading);

// The rows of all tables with so many columns in a section, their headings included.
std::vector<std::vector<std::string>> Rows(const std::string& heading, std::size_t columns);

// What `hexdump -C` was given: "offset  bytes  |text|", "*" for repetitions, the length at the end.
Bytes UndoHexDump(const std::vector<std::string>& lines);

}  // namespace packetdb::host
