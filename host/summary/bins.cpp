#include "host/summary/bins.h"

#include "host/times/calendar.h"
#include "host/times/zone.h"

namespace packetdb::host {
namespace {

constexpr std::int64_t kMonday = 4 * kDaySeconds;  // 1970-01-05

std::int64_t FlooredTo(std::int64_t step, std::int64_t number) {
  const std::int64_t rest = number % step;
  return number - rest - (rest < 0 ? step : 0);
}

}  // namespace

std::int64_t Bins::StartOf(std::int64_t moment) {
  const std::int64_t offset = OffsetOf(moment);
  const std::int64_t clock = FlooredTo(seconds_, moment + offset - kMonday) + kMonday;
  const std::int64_t start = clock - offset;
  // Where clocks were moved since the start, they showed this at another moment.
  return OffsetOf(start) == offset ? start : MomentOf(clock);
}

std::int64_t Bins::NextStart(std::int64_t start) {
  std::int64_t in_next = start + seconds_;
  if (StartOf(in_next) == in_next) return in_next;
  while (StartOf(in_next) <= start) in_next += seconds_;
  return StartOf(in_next);
}

std::int64_t Bins::MomentOf(std::int64_t clock_seconds) {
  if (clock_seconds != asked_clock_) {
    asked_clock_ = clock_seconds;
    asked_moment_ = LocalMoment(clock_seconds);
  }
  return asked_moment_;
}

}  // namespace packetdb::host
