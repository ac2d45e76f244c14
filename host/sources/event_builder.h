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

// The latest time, in Unix seconds, that an event may have. The bus carries the times of a query in
// 31 bits: what is later could not be asked for, and since times never go back in a journal, it
// would take everything journaled after it along.
inline constexpr std::int64_t kLatestTime = 0x7FFFFFFF;

// Unix seconds, up to kLatestTime, as a journal counts them; a time before 1980 becomes 0, with a
// remark.
std::uint32_t JournalTime(std::int64_t unix_seconds, CaptureCounters& counters);

// What the packet itself gives of an event: all but the interface, the code and the verdict, which
// are for the caller to add. Counts the event; false when it counted the reason for none, and then
// the event is as it was.
bool FillEvent(const LinkPacket& packet, const PacketTime& time, CaptureCounters& counters,
               Event& event);

// Counts one packet, which `parser` is to find in the frame, and the event or the reason for none.
std::optional<Event> BuildEvent(LinkParser parser, const Frame& frame, const PacketTime& time,
                                const CaptureOptions& options, CaptureCounters& counters);

// The same for a packet that has been found, and counted, already.
std::optional<Event> BuildEvent(const LinkPacket& packet, const PacketTime& time,
                                const CaptureOptions& options, CaptureCounters& counters);

}  // namespace packetdb::host
