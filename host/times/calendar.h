// Days and clocks, wherever they are.
//
// What a clock shows is counted in *clock seconds*: the Unix seconds at which a clock in UTC shows
// the same.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace packetdb::host {

inline constexpr std::int64_t kMinuteSeconds = 60;
inline constexpr std::int64_t kHourSeconds = 60 * kMinuteSeconds;
inline constexpr std::int64_t kDaySeconds = 24 * kHourSeconds;

// Midnight of a day, in clock seconds; none for a day that no calendar has.
std::optional<std::int64_t> ClockOfDay(int year, unsigned month, unsigned day);

// Midnight of the day that a clock shows.
std::int64_t MidnightBefore(std::int64_t clock_seconds);

// Appends "2026-11-20 14:05:09", with `separator` for the blank.
void AppendClock(std::int64_t clock_seconds, char separator, std::string* text);

// Appends "+01:00". What an offset has below the minute, as some had until 1972, is left out.
void AppendOffset(std::int64_t offset_seconds, std::string* text);

}  // namespace packetdb::host
