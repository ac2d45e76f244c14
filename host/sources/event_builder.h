// From a packet to the event that a journal takes.
#pragma once

#include <optional>

#include "host/sources/counters.h"
#include "host/sources/event.h"
#include "host/sources/interface_names.h"
#include "host/sources/link_layer.h"
#include "host/sources/prefix.h"

namespace packetdb::host {

// What the sources are told about the place that they look at.
struct CaptureOptions {
  InterfaceNames interfaces;
  RuleTable rules;
};

// Unix seconds as a journal counts them, from 1980 on; a time before or behind its 32 bits becomes
// the first or last there is, with a remark.
std::uint32_t JournalTime(std::int64_t unix_seconds, CaptureCounters& counters);

// Counts one packet, which `parser` is to find in the frame, and the event or the reason for none.
std::optional<Event> BuildEvent(LinkParser parser, const Frame& frame, const PacketTime& time,
                                const CaptureOptions& options, CaptureCounters& counters);

// The same for a packet that has been found, and counted, already.
std::optional<Event> BuildEvent(const LinkPacket& packet, const PacketTime& time,
                                const CaptureOptions& options, CaptureCounters& counters);

}  // namespace packetdb::host
