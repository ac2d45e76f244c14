#include "host/times/local_clock.h"

#include "host/times/calendar.h"
#include "host/times/zone.h"

namespace packetdb::host {
namespace {

// More days than a journal's times reach over are there only when something is wrong with them.
constexpr std::size_t kMostKept = 100'000;

LocalReading Ask(std::int64_t unix_seconds) {
  const std::int64_t offset = OffsetAt(unix_seconds);
  return {offset, LocalMoment(unix_seconds + offset) == unix_seconds};
}

std::int64_t MinuteBefore(std::int64_t unix_seconds) {
  const std::int64_t in_minute = unix_seconds % kMinuteSeconds;
  return unix_seconds - in_minute - (in_minute < 0 ? kMinuteSeconds : 0);
}

}  // namespace

LocalReading LocalClock::At(std::int64_t unix_seconds) {
  const std::int64_t midnight = MidnightBefore(unix_seconds);
  auto found = days_.find(midnight);
  if (found == days_.end()) {
    if (days_.size() >= kMostKept) days_.clear();
    const Day day{OffsetIsSteady(midnight, midnight + kDaySeconds), OffsetAt(midnight)};
    found = days_.emplace(midnight, day).first;
  }
  if (found->second.is_steady) return {found->second.offset, true};
  return InUnsteadyDay(unix_seconds);
}

LocalReading LocalClock::InUnsteadyDay(std::int64_t unix_seconds) {
  const std::int64_t minute = MinuteBefore(unix_seconds);
  const auto found = minutes_.find(minute);
  if (found != minutes_.end()) return found->second;
  const LocalReading first = Ask(minute);
  const LocalReading last = Ask(minute + kMinuteSeconds - 1);
  // Clocks are moved on whole minutes, but were not always.
  if (first.offset != last.offset || first.is_plain != last.is_plain) return Ask(unix_seconds);
  if (minutes_.size() >= kMostKept) minutes_.clear();
  minutes_.emplace(minute, first);
  return first;
}

}  // namespace packetdb::host
