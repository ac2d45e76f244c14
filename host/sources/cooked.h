// The two pseudo headers of Linux captures on "any" interface. Both tell the direction, the second
// one the interface's index as well.
#pragma once

#include <optional>

#include "host/sources/link_layer.h"

namespace packetdb::host {

std::optional<LinkPacket> ParseCooked(const Frame& frame, CaptureCounters& counters);
std::optional<LinkPacket> ParseCooked2(const Frame& frame, CaptureCounters& counters);

}  // namespace packetdb::host
