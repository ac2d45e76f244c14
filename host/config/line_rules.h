// What is asked of the lines of a file before it is read as TOML.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace packetdb::host {

struct LineFault {
  std::uint32_t line = 0;    // from 1
  std::uint32_t column = 0;  // from 1, in characters
  std::string text;
};

// The first line of more than `longest` bytes, or the first control character other than tabs and
// the ends of lines, whichever comes first.
std::optional<LineFault> FindLineFault(std::string_view text, std::size_t longest);

}  // namespace packetdb::host
