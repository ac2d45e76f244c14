// How packetdbd ends.
#pragma once

namespace packetdb::host {

inline constexpr int kExitOk = 0;
inline constexpr int kExitUsage = 2;       // options or a configuration that make no sense
inline constexpr int kExitIntakeDied = 6;  // the process that journals events ended unasked
inline constexpr int kExitFailed = 7;      // anything else

}  // namespace packetdb::host
