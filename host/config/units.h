// Sizes and durations as people write them: a whole number with a unit behind it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace packetdb::host {

// Bytes.
inline constexpr std::int64_t kKiB = 1 << 10;
inline constexpr std::int64_t kMiB = 1 << 20;

// "128B", "64KiB", "32MiB", "1GiB": bytes. Nothing for any other text and for what does not fit.
std::optional<std::int64_t> ParseSize(std::string_view text);
// With the largest unit that leaves a whole number.
std::string ShowSize(std::int64_t bytes);

// "10ms", "1s", "5min", "2h": milliseconds.
std::optional<std::int64_t> ParseDuration(std::string_view text);
std::string ShowDuration(std::int64_t milliseconds);

}  // namespace packetdb::host
