// Netfilter log records: what the kernel's packet filter tells about a packet that a rule logged.
#pragma once

#include <cstdint>
#include <optional>

#include "host/sources/link_layer.h"
#include "host/sources/nflog_record.h"

namespace packetdb::host {

// A record as captures hold it: address family (8 bits), version (8 bits, 0), resource, and then
// attributes.
std::optional<LinkPacket> ParseNflog(const Frame& frame, CaptureCounters& counters);

// What a record that `family` (the kernel's NFPROTO_ value) logged says about its packet.
// Directions come from the hook; the interface is the one that the packet left by when it only
// leaves, else the one that it came in by. Mark, user and time stamp are no part of that: a
// captured record has a time of its own, and who reads a live one finds them in the record.
std::optional<LinkPacket> ParseNflogRecord(std::uint8_t family, const NflogRecord& record,
                                           CaptureCounters& counters);

}  // namespace packetdb::host
