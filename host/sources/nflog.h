// Netfilter log records: what the kernel's packet filter tells about a packet that a rule logged.
#pragma once

#include <cstdint>
#include <optional>

#include "host/sources/link_layer.h"

namespace packetdb::host {

// A record as captures hold it: address family (8 bits), version (8 bits, 0), resource, and then
// attributes.
std::optional<LinkPacket> ParseNflog(const Frame& frame, CaptureCounters& counters);

// The attributes of a record that `family` (the kernel's NFPROTO_ value) logged. Directions come
// from the hook; the interface is the one that the packet left by when it only leaves, else the one
// that it came in by.
//
// Left unread: mark, user and group, bridge ports, and the time stamp, because a record has a time
// of its own and the attribute is there for received packets only.
std::optional<LinkPacket> ParseNflogAttributes(std::uint8_t family, const Frame& attributes,
                                               CaptureCounters& counters);

}  // namespace packetdb::host
