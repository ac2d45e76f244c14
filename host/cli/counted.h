// Numbers of things, for people.
#pragma once

#include <cstdint>
#include <fmt/format.h>
#include <string>
#include <string_view>

namespace packetdb::host {

// "1 record", "5 records"; for nouns that take an s.
inline std::string Counted(std::uint64_t number, std::string_view noun) {
  return fmt::format("{} {}{}", number, noun, number == 1 ? "" : "s");
}

}  // namespace packetdb::host
