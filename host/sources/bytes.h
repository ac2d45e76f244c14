// Bytes of a packet, and the integers in them. The readers below do not check: whoever calls them
// has compared the offset with the size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace packetdb::host {

using ByteView = std::span<const std::uint8_t>;

// A packet, or what is left of it behind some headers. `wire_length` is how many bytes there were
// before the capture cut them; never less than bytes.size().
struct Frame {
  ByteView bytes;
  std::size_t wire_length = 0;

  // Without the leading `count` bytes, of which there must be as many.
  Frame Behind(std::size_t count) const { return {bytes.subspan(count), wire_length - count}; }
};

inline std::uint16_t Big16(ByteView bytes, std::size_t at) {
  return static_cast<std::uint16_t>((bytes[at] << 8) | bytes[at + 1]);
}

inline std::uint32_t Big32(ByteView bytes, std::size_t at) {
  return (static_cast<std::uint32_t>(Big16(bytes, at)) << 16) | Big16(bytes, at + 2);
}

inline std::uint64_t Big64(ByteView bytes, std::size_t at) {
  return (static_cast<std::uint64_t>(Big32(bytes, at)) << 32) | Big32(bytes, at + 4);
}

// In the byte order of this machine.
template <class T>
T Native(ByteView bytes, std::size_t at) {
  T value;
  std::memcpy(&value, bytes.subspan(at, sizeof value).data(), sizeof value);
  return value;
}

}  // namespace packetdb::host
