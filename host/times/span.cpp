#include "host/times/span.h"

#include <charconv>
#include <fmt/format.h>
#include <string>

#include "host/times/calendar.h"
#include "host/times/time_error.h"

namespace packetdb::host {
namespace {

struct Unit {
  std::string_view names;  // each between blanks
  std::int64_t seconds;
};

constexpr Unit kUnits[] = {
    {" s sec secs second seconds ", 1},      {" m min mins minute minutes ", kMinuteSeconds},
    {" h hr hrs hour hours ", kHourSeconds}, {" d day days ", kDaySeconds},
    {" w week weeks ", 7 * kDaySeconds},     {" M month months ", 2'630'016},  // 30.44 days
    {" y year years ", 31'557'600},                                            // 365.25 days
};

std::int64_t SecondsOfUnit(std::string_view name, std::string_view text) {
  const std::string among = fmt::format(" {} ", name);
  for (const Unit& unit : kUnits) {
    if (unit.names.find(among) != std::string_view::npos) return unit.seconds;
  }
  throw TimeError(
      name.empty() ? fmt::format("'{}' has a number without a unit: units are {}", text, kSpanUnits)
                   : fmt::format("'{}' has the unit '{}', which is none: units are {}", text, name,
                                 kSpanUnits));
}

void SkipBlanks(std::string_view* rest) {
  rest->remove_prefix(std::min(rest->find_first_not_of(' '), rest->size()));
}

// A number's digits, or up to the next number or blank.
std::string_view Take(std::string_view* rest, bool (*belongs)(char)) {
  std::size_t size = 0;
  while (size < rest->size() && belongs((*rest)[size])) ++size;
  const std::string_view taken = rest->substr(0, size);
  rest->remove_prefix(size);
  return taken;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsOfUnit(char c) { return !IsDigit(c) && c != ' '; }

[[noreturn]] void RefuseLength(std::string_view text) {
  throw TimeError(fmt::format("'{}' is too long: {} seconds at most", text, kLongestSpan));
}

std::int64_t TakeNumber(std::string_view* rest, std::string_view text) {
  const std::string_view digits = Take(rest, IsDigit);
  if (digits.empty()) {
    throw TimeError(
        fmt::format("'{}' is no length of time: give numbers with units, as 10m, 1h30m "
                    "or '2 days'; units are {}",
                    text, kSpanUnits));
  }
  std::int64_t number = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (read.ec != std::errc() || number > kLongestSpan) RefuseLength(text);
  return number;
}

}  // namespace

std::int64_t ParseSpan(std::string_view text) {
  std::string_view rest = text;
  std::int64_t seconds = 0;
  do {
    SkipBlanks(&rest);
    const std::int64_t number = TakeNumber(&rest, text);
    SkipBlanks(&rest);
    seconds += number * SecondsOfUnit(Take(&rest, IsOfUnit), text);
    if (seconds > kLongestSpan) RefuseLength(text);
    SkipBlanks(&rest);
  } while (!rest.empty());
  return seconds;
}

}  // namespace packetdb::host
