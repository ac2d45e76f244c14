// Captures without a link header, as tunnel interfaces give them.
#pragma once

#include <optional>

#include "host/sources/link_layer.h"

namespace packetdb::host {

// IPv4 or IPv6, told apart by the version field.
std::optional<LinkPacket> ParseRawIp(const Frame& frame, CaptureCounters& counters);

// IPv4 by declaration of the capture.
std::optional<LinkPacket> ParseRawIpv4(const Frame& frame, CaptureCounters& counters);

}  // namespace packetdb::host
