// The name of the interface that a packet was seen on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace packetdb::host {

// A query carries a name in 32 bytes, the last of which is a NUL.
inline constexpr std::size_t kMaxInterfaceName = 31;

struct InterfaceNames {
  // Where nothing tells the interface.
  std::string default_name = "capture";
  // For sources that tell it by index only. Without an entry, or with an empty one, interface 7 is
  // called "if7".
  std::map<std::uint32_t, std::string> by_index;

  // The name for an index, 0 meaning that there is none. Names end at a NUL or after 31 bytes.
  std::string Name(std::uint32_t index) const;
};

}  // namespace packetdb::host
