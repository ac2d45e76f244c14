// Maps by name that are asked with a view of one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace packetdb::host {

// For names of some bytes, where a call of the C++ library's hash costs more than its work.
inline std::size_t HashOf(std::string_view text) {
  constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
  const auto mix = [](std::uint64_t state, std::uint64_t word) {
    const std::uint64_t product = (state ^ word) * kOdd;
    return product ^ (product >> 32U);
  };
  std::uint64_t state = text.size();
  std::uint64_t word = 0;
  for (; text.size() >= sizeof word; text.remove_prefix(sizeof word)) {
    std::memcpy(&word, text.data(), sizeof word);
    state = mix(state, word);
  }
  word = 0;
  for (const char c : text) {
    word = word << 8U | static_cast<unsigned char>(c);
  }
  return mix(state, word);
}

struct StringHash {
  using is_transparent = void;  // the name that unordered_map looks for
  std::size_t operator()(std::string_view text) const { return HashOf(text); }
};

template <class Value>
using ByName = std::unordered_map<std::string, Value, StringHash, std::equal_to<>>;

}  // namespace packetdb::host
