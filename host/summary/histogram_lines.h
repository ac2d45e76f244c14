// The lines of a histogram.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/summary/bins.h"
#include "host/summary/groups.h"

namespace packetdb::host {

inline constexpr std::size_t kOtherValues = SIZE_MAX;  // all but the largest
inline constexpr std::size_t kNoValue = SIZE_MAX - 1;  // nothing was there

struct HistogramLine {
  std::int64_t start;  // of the bin, Unix seconds
  std::size_t value;   // a place among the largest values, or one of the above
  Sums sums;
};

// A line for each of the largest values that is in a bin, the largest first, and behind them one
// for the others; one for a bin in which nothing is. The groups' keys have bins; `values` are keys
// without them. Throws SummaryError.
std::vector<HistogramLine> LinesOf(Groups* in_bins, const std::vector<Group>& values, Bins* bins);

}  // namespace packetdb::host
