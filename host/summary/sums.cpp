#include "host/summary/sums.h"

#include <cmath>
#include <fmt/format.h>

#include "host/config/spelling.h"
#include "host/printing/options.h"

namespace packetdb::host {

SumKind ParseSumKind(std::string_view word) {
  if (word == "count") return SumKind::kCount;
  if (word == "bytes") return SumKind::kBytes;
  if (word == "events") return SumKind::kEvents;
  const auto nearest = NearestWord(word, {"count", "bytes", "events"});
  throw PrintError(fmt::format("'{}' is no sum: give count, bytes or events{}", word,
                               nearest ? fmt::format("; did you mean {}?", *nearest) : ""));
}

std::uint64_t ShareOf(std::uint64_t part, std::uint64_t whole) {
  constexpr double kWhole = 10000;
  if (whole == 0) return 0;
  const double share = static_cast<double>(part) / static_cast<double>(whole);
  return static_cast<std::uint64_t>(std::llround(share * kWhole));
}

}  // namespace packetdb::host
