// Numbers and networks as expressions write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/expression/interval_set.h"

namespace packetdb::host::expression {

// Decimal, or hexadecimal behind 0x; of 32 bits.
std::optional<std::uint32_t> ParseNumber(std::string_view text);
// With k, M or G behind it, which multiply by 1024, its square and its cube.
std::optional<std::uint32_t> ParseScaled(std::string_view text);
std::string ShowScaled(std::uint32_t number);

// "80" or "8000-8100", up to `highest`. Nothing when it is neither, or ends before it begins.
std::optional<Interval> ParseInterval(std::string_view text, std::uint32_t highest);

// "10.0.0.0/8", or without the zeros at the end, "10/8", and then also without the length, "10".
std::optional<Interval> ParseNetworkOrStart(std::string_view text);
// Nothing unless the mask is ones followed by zeros and the address has no ones behind them.
std::optional<Interval> ParseMasked(std::string_view address, std::string_view mask);

// How many bits a network's prefix has; nothing when the addresses are no network.
std::optional<int> PrefixLength(const Interval& addresses);

}  // namespace packetdb::host::expression
