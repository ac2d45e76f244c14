// Making the page of counters that the processes of packetdbd share, and finding rows in it.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "host/status/status_page.h"

namespace packetdb::host {

struct UnmapStatusPage {
  void operator()(StatusPage* page) const;
};
using StatusPagePtr = std::unique_ptr<StatusPage, UnmapStatusPage>;

// A page of zeros that every process forked from now on shares. It goes with the last of them.
// Throws std::system_error.
StatusPagePtr MakeStatusPage();

// The name of a row; empty while the row is unused. Whatever stands in the page, it ends with it.
template <class Row>
std::string NameOf(const Row& row) {
  // A name is complete before its first byte is there.
  const std::atomic_ref<char> first(const_cast<char&>(row.name.front()));
  const char begin = first.load(std::memory_order_acquire);
  if (begin == '\0') return {};
  return begin +
         std::string(row.name.data() + 1, strnlen(row.name.data() + 1, kStatusNameSize - 1));
}

// As much of a name as a row keeps. The names of the configuration are short enough.
inline std::string_view StatusName(std::string_view name) {
  return name.substr(0, kStatusNameSize - 1);
}

// The row of that name; null when there is none. For the arrays of a page.
template <class Rows>
auto* FindRow(Rows& rows, std::string_view name) {
  const auto row = std::find_if(rows.begin(), rows.end(), [name](const auto& candidate) {
    return NameOf(candidate) == StatusName(name);
  });
  return name.empty() || row == rows.end() ? nullptr : &*row;
}

// The same, and gives an unused row that name when there is none; null when all rows are used. Only
// for the process that writes these rows. A row keeps its name for as long as the page exists.
template <class Rows>
auto* FindOrAddRow(Rows& rows, std::string_view name) {
  auto* row = FindRow(rows, name);
  if (row != nullptr || name.empty()) return row;
  const auto unused = std::find_if(rows.begin(), rows.end(),
                                   [](const auto& candidate) { return NameOf(candidate).empty(); });
  if (unused == rows.end()) return row;
  const std::string_view kept = StatusName(name);
  std::copy(kept.begin() + 1, kept.end(), unused->name.begin() + 1);
  std::atomic_ref<char>(unused->name.front()).store(kept.front(), std::memory_order_release);
  return &*unused;
}

}  // namespace packetdb::host
