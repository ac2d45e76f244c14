#include "host/times/parse_time.h"

#include <charconv>
#include <fmt/format.h>
#include <optional>
#include <string>

#include "host/times/calendar.h"
#include "host/times/span.h"
#include "host/times/time_error.h"
#include "host/times/zone.h"

namespace packetdb::host {
namespace {

// Reads a text from its beginning to its end.
struct Reader {
  std::string_view rest;

  bool Take(char c) {
    if (!rest.starts_with(c)) return false;
    rest.remove_prefix(1);
    return true;
  }
  // `least` to `most` digits.
  std::optional<unsigned> TakeNumber(std::size_t least, std::size_t most) {
    std::size_t size = 0;
    while (size < rest.size() && rest[size] >= '0' && rest[size] <= '9') ++size;
    unsigned number = 0;
    if (size < least || size > most) return std::nullopt;
    std::from_chars(rest.data(), rest.data() + size, number);
    rest.remove_prefix(size);
    return number;
  }
};

[[noreturn]] void Refuse(std::string_view text, const std::string& reason) {
  throw TimeError(fmt::format(
      "'{}' is not a time: {}; give now, today, yesterday, 14:05, 2026-11-20, "
      "'2026-11-20 14:05[:09]', with Z or +01:00 for another zone, -2h, '10 min ago' or "
      "@UNIXSECONDS",
      text, reason));
}

// "14:05" or "14:05:09" as seconds since midnight.
std::int64_t TakeClock(Reader* reader, std::string_view text) {
  const auto hour = reader->TakeNumber(1, 2);
  const auto minute = hour && reader->Take(':') ? reader->TakeNumber(2, 2) : std::nullopt;
  const auto second = minute && reader->Take(':') ? reader->TakeNumber(2, 2) : std::optional(0U);
  if (!hour || !minute || !second) Refuse(text, "clocks are read as 14:05 or 14:05:09");
  if (*hour > 23 || *minute > 59 || *second > 59) {
    Refuse(text, "clocks go from 00:00:00 to 23:59:59");
  }
  return *hour * kHourSeconds + *minute * kMinuteSeconds + *second;
}

// "2026-11-20" as clock seconds.
std::int64_t TakeDay(Reader* reader, std::string_view text) {
  const auto year = reader->TakeNumber(4, 4);
  const auto month = year && reader->Take('-') ? reader->TakeNumber(1, 2) : std::nullopt;
  const auto day = month && reader->Take('-') ? reader->TakeNumber(1, 2) : std::nullopt;
  if (!year || !month || !day) Refuse(text, "days are read as 2026-11-20");
  const auto midnight = ClockOfDay(static_cast<int>(*year), *month, *day);
  if (!midnight) Refuse(text, "there is no such day");
  return *midnight;
}

// "+01:00" or "-0330", all of it, as seconds that its clocks are ahead of UTC.
std::int64_t ReadOffset(Reader reader, std::string_view text) {
  const std::string given(reader.rest);
  const bool is_west = reader.Take('-');
  const bool is_signed = is_west || reader.Take('+');
  const bool is_long = reader.rest.size() == 5;
  const std::string digits =
      is_long ? fmt::format("{}{}", reader.rest.substr(0, 2), reader.rest.substr(3))
              : std::string(reader.rest);
  const bool has_colon = !is_long || reader.rest[2] == ':';
  const auto number = Reader{digits}.TakeNumber(4, 4);
  if (!is_signed || !has_colon || digits.size() != 4 || !number || *number / 100 > 23 ||
      *number % 100 > 59) {
    Refuse(text, fmt::format("'{}' is no zone: Z, UTC and +01:00 are", given));
  }
  const std::int64_t seconds = *number / 100 * kHourSeconds + *number % 100 * kMinuteSeconds;
  return is_west ? -seconds : seconds;
}

// The moment at which clocks of the zone that is left in the text, or local ones, show something.
std::int64_t MomentIn(const Reader& zone, std::int64_t clock_seconds, std::string_view text) {
  if (zone.rest.empty()) return LocalMoment(clock_seconds);
  if (zone.rest == "Z" || zone.rest == "z" || zone.rest == " UTC") return clock_seconds;
  return clock_seconds - ReadOffset(zone, text);
}

bool HasClock(std::string_view rest) {
  return rest.size() > 1 && (rest[0] == ' ' || rest[0] == 'T') && rest[1] >= '0' && rest[1] <= '9';
}

std::int64_t ParseCalendar(std::string_view text) {
  Reader reader{text};
  std::int64_t clock_seconds = TakeDay(&reader, text);
  if (HasClock(reader.rest)) {
    reader.rest.remove_prefix(1);
    clock_seconds += TakeClock(&reader, text);
  }
  return MomentIn(reader, clock_seconds, text);
}

// A local time, `days` after today.
std::int64_t OfToday(std::int64_t now, std::int64_t days, std::int64_t since_midnight) {
  return LocalMoment(MidnightBefore(now + OffsetAt(now)) + days * kDaySeconds + since_midnight);
}

std::int64_t ParseClock(std::string_view text, std::int64_t now) {
  Reader reader{text};
  const std::int64_t since_midnight = TakeClock(&reader, text);
  if (!reader.rest.empty()) {
    Refuse(text, fmt::format("'{}' cannot stand behind a clock without a day", reader.rest));
  }
  return OfToday(now, 0, since_midnight);
}

std::int64_t ParseUnixSeconds(std::string_view digits, std::string_view text) {
  std::int64_t seconds = 0;
  const char* const end = digits.data() + digits.size();
  const auto read = std::from_chars(digits.data(), end, seconds);
  if (digits.empty() || digits.front() == '-' || read.ec == std::errc::invalid_argument ||
      read.ptr != end) {
    Refuse(text, "behind @ stands a whole number of seconds since 1970");
  }
  return read.ec == std::errc() ? seconds : INT64_MAX;
}

// Of a span that is part of `text`.
std::int64_t SpanIn(std::string_view span, std::string_view text) {
  try {
    return ParseSpan(span);
  } catch (const TimeError& error) {
    Refuse(text, error.what());
  }
}

std::optional<std::int64_t> ParseWord(std::string_view text, std::int64_t now) {
  if (text == "now") return now;
  if (text == "today") return OfToday(now, 0, 0);
  if (text == "yesterday") return OfToday(now, -1, 0);
  if (text == "tomorrow") return OfToday(now, 1, 0);
  return std::nullopt;
}

// Which of the forms a text has, its beginning or its end tells.
std::int64_t ParseAnyTime(std::string_view text, std::int64_t now) {
  constexpr std::string_view kAgo = " ago";
  if (const auto word = ParseWord(text, now)) return *word;
  if (text.starts_with('@')) return ParseUnixSeconds(text.substr(1), text);
  if (text.starts_with('-')) return now - SpanIn(text.substr(1), text);
  if (text.starts_with('+')) return now + SpanIn(text.substr(1), text);
  if (text.ends_with(kAgo)) return now - SpanIn(text.substr(0, text.size() - kAgo.size()), text);
  Reader reader{text};
  if (reader.TakeNumber(1, 9)) {
    if (reader.rest.starts_with(':')) return ParseClock(text, now);
    if (reader.rest.starts_with('-')) return ParseCalendar(text);
  }
  Refuse(text, text.empty() ? "it is empty" : "it has none of the forms of one");
}

}  // namespace

std::int64_t ParseTime(std::string_view text, std::int64_t now) {
  const std::int64_t seconds = ParseAnyTime(text, now);
  if (seconds < 0 || seconds > kLastTime) {
    throw TimeError(
        fmt::format("'{}' is out of range: journals hold times up to "
                    "2116-02-07 06:28:15 UTC, and none is older than 1970-01-01",
                    text));
  }
  return seconds;
}

std::int64_t ParseQueryTime(std::string_view text, std::int64_t now) {
  const std::int64_t seconds = ParseAnyTime(text, now);
  if (seconds < 0 || seconds > kLatestQueryTime) {
    throw TimeError(
        fmt::format("'{}' is out of range: a query carries times from 1970-01-01 to "
                    "2038-01-19 03:14:07 UTC",
                    text));
  }
  return seconds;
}

}  // namespace packetdb::host
