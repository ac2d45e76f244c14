#include "host/summary/bins.h"

#include "host/times/calendar.h"

namespace packetdb::host {
namespace {

constexpr std::int64_t kMonday = 4 * kDaySeconds;  // 1970-01-05

std::int64_t FlooredTo(std::int64_t step, std::int64_t number) {
  const std::int64_t rest = number % step;
  return number - rest - (rest < 0 ? step : 0);
}

}  // namespace

std::int64_t Bins::ClockStart(std::int64_t moment) {
  return FlooredTo(seconds_, moment + OffsetOf(moment) - kMonday) + kMonday;
}

std::int64_t Bins::StartOf(std::int64_t moment) {
  const std::int64_t offset = OffsetOf(moment);
  const std::int64_t clock = ClockStart(moment);
  const std::int64_t start = clock - offset;
  if (OffsetOf(start) == offset) return start;
  // Clocks were moved since. The bin reaches over that, or begins there.
  const std::int64_t change = ChangeBetween(start, moment);
  return ClockStart(change - 1) == clock ? StartOf(change - 1) : change;
}

std::int64_t Bins::NextStart(std::int64_t start) {
  std::int64_t in_next = start + seconds_;
  while (StartOf(in_next) <= start) in_next += seconds_;
  std::int64_t next = StartOf(in_next);
  // One that is cut short may lie in between.
  while (StartOf(next - 1) > start) next = StartOf(next - 1);
  return next;
}

// The first moment with the offset of the second.
std::int64_t Bins::ChangeBetween(std::int64_t before, std::int64_t after) {
  const std::int64_t offset = OffsetOf(after);
  while (after - before > 1) {
    const std::int64_t middle = before + (after - before) / 2;
    (OffsetOf(middle) == offset ? after : before) = middle;
  }
  return after;
}

}  // namespace packetdb::host
