// What the kernel's netlink socket sends for a log group, byte by byte.
#pragma once

#include <cstdint>

#include "tests/host/sources/packets.h"

namespace packetdb::host::test {

inline constexpr std::uint16_t kMessageNoop = 1, kMessageError = 2, kMessageDone = 3,
                               kMessageLog = 4 << 8, kMessageLogConfig = 4 << 8 | 1;
inline constexpr std::uint16_t kTypeSequence = 12;

// A netlink message, with its padding.
Bytes Message(std::uint16_t type, const Bytes& body);
// One that claims to be so long, whatever its body.
Bytes LyingMessage(std::uint32_t length, std::uint16_t type, const Bytes& body);
// The body of an acknowledgement (0) or a refusal (an errno).
Bytes Refusal(int error);

Bytes LogMessage(std::uint16_t group, const Bytes& attributes, std::uint8_t family = kFamilyIpv4);
// A record of group 5 with this number, of the packet of Udp().
Bytes Numbered(std::uint32_t number);

}  // namespace packetdb::host::test
