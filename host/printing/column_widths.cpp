#include "host/printing/column_widths.h"

#include <algorithm>
#include <numeric>

#include "host/printing/safe_text.h"

namespace packetdb::host {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kLeast = 8;  // less of a text tells nothing

bool CanGive(const PrintColumn& column, std::size_t width) {
  return column.may_be_cut && width > std::max(kLeast, WidthOf(column.head));
}

}  // namespace

std::vector<std::size_t> FittedWidths(const std::vector<PrintColumn>& columns,
                                      std::vector<std::size_t> widths, std::size_t terminal) {
  std::size_t total = std::accumulate(widths.begin(), widths.end(), kGap * (widths.size() - 1));
  while (terminal != 0 && total > terminal) {
    std::size_t* widest = nullptr;
    for (std::size_t i = 0; i < widths.size(); ++i) {
      const bool is_wider = widest == nullptr || widths[i] > *widest;
      if (is_wider && CanGive(columns[i], widths[i])) widest = &widths[i];
    }
    if (widest == nullptr) break;
    --*widest;
    --total;
  }
  return widths;
}

}  // namespace packetdb::host
