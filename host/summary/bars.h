// Bars of a histogram.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace packetdb::host {

enum class BarStyle { kBlocks, kAscii };

// `width` columns for `most`, at least 1, and as much less for `number`; the smallest bar there is
// for what is not 0. Blocks have eighths of a column, ASCII has whole ones.
std::string BarOf(std::uint64_t number, std::uint64_t most, std::size_t width, BarStyle style);

}  // namespace packetdb::host
