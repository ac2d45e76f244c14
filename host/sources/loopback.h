// Loopback headers of the BSD family: the address family in four bytes.
#pragma once

#include <optional>

#include "host/sources/link_layer.h"

namespace packetdb::host {

// In the byte order of whatever machine captured, which the file does not tell.
std::optional<LinkPacket> ParseNullLoopback(const Frame& frame, CaptureCounters& counters);

// Big endian.
std::optional<LinkPacket> ParseLoopback(const Frame& frame, CaptureCounters& counters);

}  // namespace packetdb::host
