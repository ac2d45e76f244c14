#include "host/cli/text_table.h"

#include <algorithm>
#include <fmt/format.h>

namespace packetdb::host {

TextTable::TextTable(const std::vector<TableColumn>& columns) : columns_(columns), lines_(1) {
  for (const TableColumn& column : columns) {
    lines_.front().emplace_back(column.heading);
  }
}

void TextTable::Print(std::FILE* out) const {
  std::vector<std::size_t> widths(columns_.size());
  for (const auto& cells : lines_) {
    for (std::size_t column = 0; column < widths.size(); ++column) {
      widths[column] = std::max(widths[column], cells[column].size());
    }
  }
  // Nothing stands behind the last column that a blank could keep away.
  if (!columns_.back().is_number) {
    widths.back() = 0;
  }
  for (const auto& cells : lines_) {
    std::string line;
    for (std::size_t column = 0; column < widths.size(); ++column) {
      const char* format = columns_[column].is_number ? "{:>{}}" : "{:<{}}";
      line += fmt::format(fmt::runtime(format), cells[column], widths[column]);
      line += column + 1 < widths.size() ? "  " : "\n";
    }
    std::fputs(line.c_str(), out);
  }
}

}  // namespace packetdb::host
