#include "host/expression/numbers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <fmt/format.h>

#include "host/config/networks.h"

namespace packetdb::host::expression {
namespace {

struct Scale {
  char letter;
  std::uint64_t factor;
};

// The largest first: a number is shown with the first that divides it.
constexpr std::array kScales = {Scale{'G', 1U << 30U}, Scale{'M', 1U << 20U},
                                Scale{'k', 1U << 10U}};

std::uint32_t MaskOf(int length) { return length == 0 ? 0 : 0xFFFFFFFFU << (32 - length); }

// The addresses that have the same first bits; nothing when `address` has ones behind them.
std::optional<Interval> NetworkOf(std::uint32_t address, int length) {
  if ((address & ~MaskOf(length)) != 0) return std::nullopt;
  return Interval{address, address | ~MaskOf(length)};
}

}  // namespace

std::optional<std::uint32_t> ParseNumber(std::string_view text) {
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    text.remove_prefix(2);
    base = 16;
  }
  std::uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

std::optional<std::uint32_t> ParseScaled(std::string_view text) {
  std::uint64_t factor = 1;
  for (const Scale& scale : kScales) {
    const bool is_decimal = !text.starts_with("0x") && !text.starts_with("0X");
    if (is_decimal && !text.empty() && (text.back() | 0x20) == (scale.letter | 0x20)) {
      factor = scale.factor;
      text.remove_suffix(1);
      break;
    }
  }
  const auto number = ParseNumber(text);
  if (!number || *number * factor > 0xFFFFFFFF) return std::nullopt;
  return static_cast<std::uint32_t>(*number * factor);
}

std::string ShowScaled(std::uint32_t number) {
  for (const Scale& scale : kScales) {
    if (number != 0 && number % scale.factor == 0) {
      return fmt::format("{}{}", number / scale.factor, scale.letter);
    }
  }
  return std::to_string(number);
}

std::optional<Interval> ParseInterval(std::string_view text, std::uint32_t highest) {
  const std::size_t dash = text.find('-');
  const auto from = ParseNumber(text.substr(0, dash));
  const auto to = dash == std::string_view::npos ? from : ParseNumber(text.substr(dash + 1));
  if (!from || !to || *from > *to || *to > highest) return std::nullopt;
  return Interval{*from, *to};
}

std::optional<Interval> ParseNetworkOrStart(std::string_view text) {
  const std::size_t slash = text.find('/');
  std::string address(text.substr(0, slash));
  int length = 8;
  for (auto dots = std::count(address.begin(), address.end(), '.'); dots < 3; ++dots) {
    address += ".0";
  }
  length *= 1 + static_cast<int>(std::count(text.begin(), text.end(), '.'));
  const auto parsed = ParseIpv4(address);
  if (slash != std::string_view::npos) {
    const auto given = ParseNumber(text.substr(slash + 1));
    if (!given || *given > 32) return std::nullopt;
    length = static_cast<int>(*given);
  }
  return parsed ? NetworkOf(*parsed, length) : std::nullopt;
}

std::optional<Interval> ParseMasked(std::string_view address, std::string_view mask) {
  const auto network = ParseIpv4(address);
  const auto bits = ParseIpv4(mask);
  if (!network || !bits || MaskOf(std::countl_one(*bits)) != *bits) return std::nullopt;
  return NetworkOf(*network, std::countl_one(*bits));
}

std::optional<int> PrefixLength(const Interval& addresses) {
  const int length = std::countl_zero(addresses.from ^ addresses.to);
  const auto network = NetworkOf(addresses.from & MaskOf(length), length);
  return network == addresses ? std::optional(length) : std::nullopt;
}

}  // namespace packetdb::host::expression
