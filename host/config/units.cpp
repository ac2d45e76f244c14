#include "host/config/units.h"

#include <charconv>
#include <fmt/format.h>
#include <limits>
#include <span>

namespace packetdb::host {
namespace {

struct Unit {
  std::string_view name;
  std::int64_t factor;
};

// The smallest first.
constexpr Unit kSizes[] = {
    {"B", 1}, {"KiB", 1 << 10}, {"MiB", 1 << 20}, {"GiB", 1 << 30}, {"TiB", std::int64_t{1} << 40}};
constexpr Unit kDurations[] = {{"ms", 1}, {"s", 1000}, {"min", 60'000}, {"h", 3'600'000}};

std::optional<std::int64_t> Parse(std::string_view text, std::span<const Unit> units) {
  if (text.empty() || text.front() < '0' || text.front() > '9') return std::nullopt;
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc()) return std::nullopt;
  const std::string_view name(stop, static_cast<std::size_t>(end - stop));
  for (const Unit& unit : units) {
    if (unit.name != name) continue;
    if (number > std::numeric_limits<std::int64_t>::max() / unit.factor) return std::nullopt;
    return number * unit.factor;
  }
  return std::nullopt;
}

std::string Show(std::int64_t value, std::span<const Unit> units) {
  const Unit* best = units.data();
  for (const Unit& unit : units) {
    if (value != 0 && value % unit.factor == 0) best = &unit;
  }
  return fmt::format("{}{}", value / best->factor, best->name);
}

}  // namespace

std::optional<std::int64_t> ParseSize(std::string_view text) { return Parse(text, kSizes); }

std::string ShowSize(std::int64_t bytes) { return Show(bytes, kSizes); }

std::optional<std::int64_t> ParseDuration(std::string_view text) { return Parse(text, kDurations); }

std::string ShowDuration(std::int64_t milliseconds) { return Show(milliseconds, kDurations); }

}  // namespace packetdb::host
