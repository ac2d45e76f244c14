// The time as record files note it.
#pragma once

#include <chrono>
#include <cstdint>

namespace packetdb::host {

// Nanoseconds since 1970-01-01 UTC.
inline std::uint64_t UnixNanoseconds() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

}  // namespace packetdb::host
