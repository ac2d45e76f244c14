// How long something is: "10m", "1h30m", "2 days".
#pragma once

#include <cstdint>
#include <string_view>

namespace packetdb::host {

// In seconds, the sum of one or more numbers, each with its unit behind it; blanks may stand around
// both. Units are s sec second, m min minute, h hr hour, d day, w week, M month (30.44 days),
// y year (365.25 days); those of three letters and more also with an s. Throws TimeError for
// anything else, and for more than kLongestSpan.
std::int64_t ParseSpan(std::string_view text);

inline constexpr std::int64_t kLongestSpan = 0xFFFFFFFF;

// The units, for help and errors.
inline constexpr std::string_view kSpanUnits = "s, min, h, d, w, M for months, y";

}  // namespace packetdb::host
