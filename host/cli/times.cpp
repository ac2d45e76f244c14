#include "host/cli/times.h"

#include <array>
#include <ctime>
#include <fmt/format.h>
#include <optional>

#include "host/cli/parse_number.h"
#include "host/cli/usage_error.h"
#include "packetdb/storage.h"

namespace packetdb::host {

namespace {

std::optional<std::int64_t> UnitSeconds(char unit) {
  switch (unit) {
    case 's':
      return 1;
    case 'm':
      return 60;
    case 'h':
      return 3600;
    case 'd':
      return 86400;
    default:
      return std::nullopt;
  }
}

// "-2h"
std::optional<std::int64_t> ParseAgo(std::string_view text, std::int64_t now) {
  if (text.size() < 3 || text.front() != '-') {
    return std::nullopt;
  }
  const auto unit = UnitSeconds(text.back());
  const auto number = ParseNumber(text.substr(1, text.size() - 2), 0, kLatestQueryTime);
  if (!unit || !number) {
    return std::nullopt;
  }
  return now - *number * *unit;
}

// "Z", "+01:00" or "-0330" as seconds east of Greenwich.
std::optional<long> ParseOffset(std::string_view text) {
  if (text == "Z" || text == "z") {
    return 0;
  }
  std::string digits(text);
  if (digits.size() == 6 && digits[3] == ':') {
    digits.erase(3, 1);
  }
  if (digits.size() != 5 || (digits[0] != '+' && digits[0] != '-')) {
    return std::nullopt;
  }
  const auto hours = ParseNumber(digits.substr(1, 2), 0, 23);
  const auto minutes = ParseNumber(digits.substr(3, 2), 0, 59);
  if (!hours || !minutes) {
    return std::nullopt;
  }
  const long seconds = static_cast<long>(*hours * 3600 + *minutes * 60);
  return digits[0] == '-' ? -seconds : seconds;
}

// What the calendar makes of the fields must be the fields again: there is no 30 February.
bool SameDay(const std::tm& a, const std::tm& b) {
  return a.tm_year == b.tm_year && a.tm_mon == b.tm_mon && a.tm_mday == b.tm_mday;
}

std::optional<std::int64_t> FromCalendar(std::tm fields, std::string_view zone) {
  std::tm filled = fields;
  filled.tm_isdst = -1;
  if (zone.empty()) {
    const std::int64_t seconds = std::mktime(&filled);
    return SameDay(filled, fields) ? std::optional(seconds) : std::nullopt;
  }
  const auto offset = ParseOffset(zone);
  if (!offset) {
    return std::nullopt;
  }
  const std::int64_t seconds = timegm(&filled);
  return SameDay(filled, fields) ? std::optional(seconds - *offset) : std::nullopt;
}

std::optional<std::int64_t> ParseCalendar(std::string_view text) {
  constexpr std::array kFormats = {"%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M",
                                   "%Y-%m-%dT%H:%M", "%Y-%m-%d"};
  const std::string terminated(text);
  for (const char* format : kFormats) {
    std::tm fields{};
    const char* rest = strptime(terminated.c_str(), format, &fields);
    if (rest == nullptr) {
      continue;
    }
    if (const auto seconds = FromCalendar(fields, rest)) {
      return seconds;
    }
  }
  return std::nullopt;
}

std::optional<std::int64_t> ParseAny(std::string_view text, std::int64_t now) {
  if (text == "now") {
    return now;
  }
  if (text.starts_with("@")) {
    return ParseNumber(text.substr(1), 0, INT64_MAX);
  }
  if (const auto ago = ParseAgo(text, now)) {
    return ago;
  }
  return ParseCalendar(text);
}

std::string Formatted(const char* format, std::int64_t unix_seconds) {
  const std::time_t moment = unix_seconds;
  std::tm fields{};
  localtime_r(&moment, &fields);
  std::array<char, 64> text{};
  std::strftime(text.data(), text.size(), format, &fields);
  return text.data();
}

}  // namespace

std::int64_t ParseTime(std::string_view text, std::int64_t now) {
  const auto seconds = ParseAny(text, now);
  if (!seconds) {
    throw UsageError(fmt::format(
        "'{}' is not a time: give 2026-11-20, '2026-11-20 14:05[:09]', with Z or +01:00 for "
        "another zone, @UNIXSECONDS, -2h (s, m, h, d) or now",
        text));
  }
  if (*seconds < 0 || *seconds > kLatestQueryTime) {
    throw UsageError(
        fmt::format("'{}' is out of range: a query carries times from 1970-01-01 to "
                    "2038-01-19 03:14:07 UTC",
                    text));
  }
  return *seconds;
}

std::string LocalTime(std::int64_t unix_seconds) {
  return Formatted("%Y-%m-%d %H:%M:%S", unix_seconds);
}

std::string RecordTime(std::uint32_t seconds) {
  return LocalTime(std::int64_t{seconds} + TIME_1980_OFFSET);
}

std::string Rfc3339Time(std::int64_t unix_seconds) {
  std::string text = Formatted("%Y-%m-%dT%H:%M:%S%z", unix_seconds);
  text.insert(text.size() - 2, ":");
  return text;
}

std::string DurationText(std::uint64_t seconds) {
  constexpr std::uint64_t kMinute = 60;
  constexpr std::uint64_t kHour = 60 * kMinute;
  constexpr std::uint64_t kDay = 24 * kHour;
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
