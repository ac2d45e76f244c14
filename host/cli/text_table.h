// Tables for people: a head, and columns as wide as what they hold.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace packetdb::host {

struct TableColumn {
  const char* heading;
  bool is_number = false;  // aligned to the right
};

class TextTable {
 public:
  // At least one.
  explicit TextTable(const std::vector<TableColumn>& columns);

  // As many cells as there are columns.
  void Add(const std::vector<std::string>& cells) { lines_.push_back(cells); }
  bool empty() const { return lines_.size() == 1; }

  void Print(std::FILE* out) const;

 private:
  std::vector<TableColumn> columns_;
  std::vector<std::vector<std::string>> lines_;  // the head first
};

}  // namespace packetdb::host
