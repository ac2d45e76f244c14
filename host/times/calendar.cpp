#include "host/times/calendar.h"

#include <chrono>
#include <cstdlib>
#include <fmt/format.h>
#include <iterator>

namespace packetdb::host {
namespace {

// Appends a number from 0 to 99 as two digits.
void AppendTwo(unsigned number, std::string* text) {
  text->push_back(static_cast<char>('0' + number / 10));
  text->push_back(static_cast<char>('0' + number % 10));
}

void AppendDay(std::chrono::sys_days day, std::string* text) {
  const std::chrono::year_month_day date(day);
  const int year = static_cast<int>(date.year());
  if (year < 0 || year > 9999) {
    fmt::format_to(std::back_inserter(*text), "{:04}", year);
  } else {
    AppendTwo(static_cast<unsigned>(year) / 100, text);
    AppendTwo(static_cast<unsigned>(year) % 100, text);
  }
  text->push_back('-');
  AppendTwo(static_cast<unsigned>(date.month()), text);
  text->push_back('-');
  AppendTwo(static_cast<unsigned>(date.day()), text);
}

}  // namespace

std::optional<std::int64_t> ClockOfDay(int year, unsigned month, unsigned day) {
  const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                         std::chrono::day(day)};
  if (!date.ok()) return std::nullopt;
  return std::chrono::sys_seconds(std::chrono::sys_days(date)).time_since_epoch().count();
}

std::int64_t MidnightBefore(std::int64_t clock_seconds) {
  const std::int64_t in_day = clock_seconds % kDaySeconds;
  return clock_seconds - in_day - (in_day < 0 ? kDaySeconds : 0);
}

void AppendClock(std::int64_t clock_seconds, char separator, std::string* text) {
  const std::int64_t midnight = MidnightBefore(clock_seconds);
  const auto seconds = static_cast<unsigned>(clock_seconds - midnight);
  AppendDay(std::chrono::sys_days(std::chrono::days(midnight / kDaySeconds)), text);
  text->push_back(separator);
  AppendTwo(seconds / 3600, text);
  text->push_back(':');
  AppendTwo(seconds / 60 % 60, text);
  text->push_back(':');
  AppendTwo(seconds % 60, text);
}

void AppendOffset(std::int64_t offset_seconds, std::string* text) {
  const auto minutes = static_cast<unsigned>(std::abs(offset_seconds) / kMinuteSeconds);
  text->push_back(offset_seconds < 0 ? '-' : '+');
  AppendTwo(minutes / 60, text);
  text->push_back(':');
  AppendTwo(minutes % 60, text);
}

}  // namespace packetdb::host
