#include "host/summary/histogram.h"

#include <fmt/format.h>

#include "host/summary/histogram_printer.h"
#include "host/times/span.h"
#include "host/times/time_error.h"

namespace packetdb::host {
namespace {

// The shortest of the bins that people use with which there are few enough.
std::string BinThatFits(std::int64_t seconds, std::size_t most_bins) {
  struct Usual {
    std::int64_t seconds;
    const char* text;
  };
  constexpr Usual kUsual[] = {
      {1, "1s"},    {10, "10s"},   {60, "1m"},    {300, "5m"},    {900, "15m"},
      {3600, "1h"}, {21600, "6h"}, {86400, "1d"}, {604800, "1w"}, {31557600, "1y"},
  };
  const auto fits = [&](std::int64_t bin) {
    // The first and the last bin reach over the ends, and clocks that are moved cut some more.
    return static_cast<std::uint64_t>(seconds / bin) + 4 <= most_bins;
  };
  for (const Usual& usual : kUsual) {
    if (fits(usual.seconds)) return usual.text;
  }
  return fmt::format("{}s", seconds + 1);
}

void CheckBins(std::int64_t seconds, std::int64_t bin_seconds, std::size_t most_bins) {
  const auto bins = static_cast<std::uint64_t>(seconds / bin_seconds) + 1;
  if (bins <= most_bins) return;
  throw PrintError(fmt::format(
      "bins of {} s are {} from the first row to the last, and {} is the most: take bins of {}, or "
      "a shorter time",
      bin_seconds, bins, most_bins, BinThatFits(seconds, most_bins)));
}

}  // namespace

std::int64_t ParseBin(std::string_view text) try {
  const std::int64_t seconds = ParseSpan(text);
  if (seconds > 0) return seconds;
  throw PrintError(fmt::format("a bin of '{}' is no time: give 5m, 1h or 1d", text));
} catch (const TimeError& error) {
  throw PrintError(fmt::format("no bin: {}", error.what()));
}

Histogram::Histogram(const HistogramOptions& options)
    : options_(options),
      bins_(options.bin_seconds, options.utc),
      in_bins_(options.by, true, options.most_keys) {
  if (!options.by.empty()) values_.emplace(options.by, false, options.most_keys);
}

void Histogram::Add(const Row& row) {
  const std::int64_t start = bins_.StartOf(std::int64_t{row.event.m_FirstTime} + TIME_1980_OFFSET);
  earliest_ = std::min(earliest_, start);
  latest_ = std::max(latest_, start);
  in_bins_.Add(row, start);
  if (values_) values_->Add(row);
}

void Histogram::Print(const PrintOptions& options, const Names& names, std::FILE* out) {
  if (earliest_ <= latest_)
    CheckBins(latest_ - earliest_, options_.bin_seconds, options_.most_bins);
  std::vector<Group> largest;
  if (values_) largest = LargestGroups(&*values_, options_.sort, options_.most_values);
  const KeyLayout* const layout = values_ ? &values_->layout() : nullptr;
  // Interfaces are numbered as they come, so both number them alike.
  const std::vector<HistogramLine> lines = LinesOf(&in_bins_, largest, &bins_);
  HistogramPrinter(options_, layout, largest, options, names).Print(lines, out);
}

}  // namespace packetdb::host
