#include "host/times/time_text.h"

#include <fmt/format.h>

#include "host/times/calendar.h"
#include "packetdb/storage.h"

namespace packetdb::host {
namespace {

// With an offset in whole minutes, and clocks that fit it: RFC 3339 has no seconds for those few of
// 1970 that are not.
void AppendWithOffset(std::int64_t unix_seconds, std::int64_t offset, char separator,
                      std::string* text) {
  const std::int64_t whole = offset - offset % kMinuteSeconds;
  AppendClock(unix_seconds + whole, separator, text);
  AppendOffset(whole, text);
}

void AppendUtc(std::int64_t unix_seconds, char separator, std::string* text) {
  AppendClock(unix_seconds, separator, text);
  text->push_back('Z');
}

}  // namespace

void TimeWriter::Append(std::int64_t unix_seconds, std::string* text) {
  if (utc_) return AppendUtc(unix_seconds, ' ', text);
  const LocalReading reading = clock_.At(unix_seconds);
  if (!reading.is_plain) return AppendWithOffset(unix_seconds, reading.offset, ' ', text);
  AppendClock(unix_seconds + reading.offset, ' ', text);
}

void TimeWriter::AppendRfc3339(std::int64_t unix_seconds, std::string* text) {
  if (utc_) return AppendUtc(unix_seconds, 'T', text);
  AppendWithOffset(unix_seconds, clock_.At(unix_seconds).offset, 'T', text);
}

std::string LocalTime(std::int64_t unix_seconds) {
  std::string text;
  TimeWriter(false).Append(unix_seconds, &text);
  return text;
}

std::string UtcTime(std::int64_t unix_seconds) {
  std::string text;
  AppendUtc(unix_seconds, ' ', &text);
  return text;
}

std::string RecordTime(std::uint32_t seconds) {
  return LocalTime(std::int64_t{seconds} + TIME_1980_OFFSET);
}

std::string Rfc3339Time(std::int64_t unix_seconds) {
  std::string text;
  TimeWriter(false).AppendRfc3339(unix_seconds, &text);
  return text;
}

std::string DurationText(std::uint64_t seconds) {
  constexpr std::uint64_t kMinute = kMinuteSeconds;
  constexpr std::uint64_t kHour = kHourSeconds;
  constexpr std::uint64_t kDay = kDaySeconds;
  if (seconds >= kDay) {
    return fmt::format("{} d {} h", seconds / kDay, seconds % kDay / kHour);
  }
  if (seconds >= kHour) {
    return fmt::format("{} h {} min", seconds / kHour, seconds % kHour / kMinute);
  }
  if (seconds >= kMinute) {
    return fmt::format("{} min {} s", seconds / kMinute, seconds % kMinute);
  }
  return fmt::format("{} s", seconds);
}

}  // namespace packetdb::host
