// Integers between host byte order and network byte order.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace packetdb::host {

// Copies an integer of 1, 2, 4 or 8 bytes and turns it from one byte order into the other; the two
// places need no alignment and do not overlap.
inline void CopySwapped(void* to, const void* from, std::size_t size) {
  const auto* source = static_cast<const unsigned char*>(from);
  auto* target = static_cast<unsigned char*>(to);
  if constexpr (std::endian::native == std::endian::big) {
    std::memcpy(target, source, size);
  } else {
    std::reverse_copy(source, source + size, target);
  }
}

inline std::uint32_t LoadNetwork32(const unsigned char* from) {
  std::uint32_t value;
  CopySwapped(&value, from, sizeof value);
  return value;
}

inline void StoreNetwork32(unsigned char* to, std::uint32_t value) {
  CopySwapped(to, &value, sizeof value);
}

}  // namespace packetdb::host
