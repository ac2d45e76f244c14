// What the programs end with, as the manual promises it.
#pragma once

namespace packetdb::host::test {

inline constexpr int kExitUsage = 2;
inline constexpr int kExitUnreachable = 3;
inline constexpr int kExitNotPermitted = 4;
inline constexpr int kExitDamaged = 5;     // of the command
inline constexpr int kExitIntakeDied = 6;  // of the daemon
inline constexpr int kExitFailed = 7;
inline constexpr int kExitInUse = 8;

}  // namespace packetdb::host::test
