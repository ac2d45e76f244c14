#include "host/times/zone.h"

#include <algorithm>
#include <ctime>
#include <functional>
#include <vector>

#include "host/times/calendar.h"

namespace packetdb::host {
namespace {

// No clock is further from UTC, and none was ever moved by more: those of islands that changed
// sides of the date line, by a day.
constexpr std::int64_t kReach = 26 * kHourSeconds;
// Clocks that are moved and moved back within this time are not noticed; none were since 1970.
constexpr std::int64_t kStep = 2 * kHourSeconds;

// The offsets around a moment, the largest first.
std::vector<std::int64_t> OffsetsAround(std::int64_t moment) {
  std::vector<std::int64_t> offsets;
  for (std::int64_t at = moment - kReach; at <= moment + kReach; at += kStep) {
    const std::int64_t offset = OffsetAt(at);
    if (offsets.empty() || offsets.back() != offset) offsets.push_back(offset);
  }
  std::sort(offsets.begin(), offsets.end(), std::greater<>());
  return offsets;
}

// Clocks show less than `clock_seconds` at `before` and more at `after`, and never just that.
std::int64_t MomentOfSkipping(std::int64_t clock_seconds, std::int64_t before, std::int64_t after) {
  while (after - before > 1) {
    const std::int64_t middle = before + (after - before) / 2;
    (middle + OffsetAt(middle) < clock_seconds ? before : after) = middle;
  }
  return after;
}

}  // namespace

std::int64_t OffsetAt(std::int64_t unix_seconds) {
  const std::time_t moment = unix_seconds;
  std::tm fields{};
  localtime_r(&moment, &fields);
  return fields.tm_gmtoff;
}

bool OffsetIsSteady(std::int64_t first, std::int64_t last) {
  const std::int64_t offset = OffsetAt(first - kReach);
  for (std::int64_t at = first - kReach; at < last + kReach; at += kStep) {
    if (OffsetAt(at) != offset) return false;
  }
  return OffsetAt(last + kReach) == offset;
}

std::int64_t LocalMoment(std::int64_t clock_seconds) {
  const std::vector<std::int64_t> offsets = OffsetsAround(clock_seconds);
  for (const std::int64_t offset : offsets) {
    const std::int64_t moment = clock_seconds - offset;
    if (OffsetAt(moment) == offset) return moment;
  }
  return MomentOfSkipping(clock_seconds, clock_seconds - offsets.front(),
                          clock_seconds - offsets.back());
}

}  // namespace packetdb::host
