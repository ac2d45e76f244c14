// Numbers and ranges of numbers in options.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace packetdb::host {

// Decimal, or hexadecimal after 0x; nothing when the text is not a number from lowest to highest.
std::optional<std::int64_t> ParseNumber(std::string_view text, std::int64_t lowest,
                                        std::int64_t highest);

// The parts between commas. Empty parts are parts too.
std::vector<std::string> SplitAtCommas(std::string_view text);

// "FROM-TO" at its first '-' behind the first character, so that a number may be negative; a text
// without one is its own two ends.
std::pair<std::string, std::string> SplitRange(std::string_view text);

}  // namespace packetdb::host
