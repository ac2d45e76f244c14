// The rows of the status page, by name.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <string_view>

#include "host/status/status_page.h"

namespace packetdb::host {

// A name as a row has it: cut where it is too long.
inline std::string_view RowName(std::string_view name) {
  return name.substr(0, kStatusNameSize - 1);
}

// The row of that name, or null.
template <class Row, std::size_t N>
Row* FindRow(std::array<Row, N>& rows, std::string_view name) {
  const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row& row) {
    return std::string_view(row.name.data()) == RowName(name);
  });
  return found == rows.end() ? nullptr : &*found;
}

// A row that nobody has, or null; NameRow makes it somebody's.
template <class Row, std::size_t N>
Row* FreeRow(std::array<Row, N>& rows) {
  const auto found =
      std::find_if(rows.begin(), rows.end(), [](const Row& row) { return row.name[0] == '\0'; });
  return found == rows.end() ? nullptr : &*found;
}

// From then on readers see the row. The first byte goes last, so that nobody sees half a name.
template <class Row>
void NameRow(Row& row, std::string_view name) {
  const std::string_view text = RowName(name);
  std::copy(text.begin() + 1, text.end(), row.name.begin() + 1);
  std::atomic_ref<char>(row.name[0]).store(text.front(), std::memory_order_release);
}

}  // namespace packetdb::host
