// What `packetdb histogram` tells: sums over time.
#pragma once

#include <cstdio>
#include <optional>
#include <string_view>

#include "host/names/names.h"
#include "host/printing/options.h"
#include "host/summary/bars.h"
#include "host/summary/bins.h"
#include "host/summary/groups.h"

namespace packetdb::host {

struct HistogramOptions {
  std::int64_t bin_seconds = 3600;    // at least 1
  bool utc = false;                   // bins begin as clocks show it in UTC; otherwise local ones
  KeyFields by;                       // none, or those whose largest values have lines of their own
  std::size_t most_values = 5;        // of them; the rest of a bin is one line
  SumKind sort = SumKind::kCount;     // what bars and largest values are of
  std::size_t most_bins = 10'000;     // empty ones among them
  std::size_t most_keys = kMostKeys;  // groups in memory, twice; see Groups
  BarStyle bars = BarStyle::kBlocks;
  std::size_t bar_width = 40;  // where the output has no width of its own
};

// "5m" as seconds. Throws PrintError for what is no span, and for none.
std::int64_t ParseBin(std::string_view text);

// All that a row sums up is in the bin in which it was first seen: a record knows how many packets
// there were between its first and its last one, but not when, and to spread them would make
// numbers that nobody counted. A merge window shorter than the bins keeps that small.
class Histogram {
 public:
  explicit Histogram(const HistogramOptions& options);

  void Add(const Row& row);  // throws SummaryError
  // As that of Top; throws PrintError for too many bins as well.
  void Print(const PrintOptions& options, const Names& names, std::FILE* out);

 private:
  HistogramOptions options_;
  Bins bins_;
  Groups in_bins_;
  std::optional<Groups> values_;       // the same over all bins, to find the largest
  std::int64_t earliest_ = INT64_MAX;  // bins with rows
  std::int64_t latest_ = INT64_MIN;
};

}  // namespace packetdb::host
