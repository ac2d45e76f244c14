// From a captured frame to the IPv4 packet in it: one parser per family of link types.
//
// A parser either finds the packet or counts the one reason why there is none.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "host/sources/bytes.h"
#include "host/sources/counters.h"

namespace packetdb::host {

// An IPv4 packet, and what the layer below tells about it.
struct LinkPacket {
  Frame network;                      // from the first byte of the IPv4 header on
  std::uint32_t direction = 0;        // kFlagIn, kFlagOut; 0 unknown
  std::uint32_t interface_index = 0;  // 0 unknown
  std::string_view prefix;  // the log prefix of the rule; empty: none. Points into the frame
};

using LinkParser = std::optional<LinkPacket> (*)(const Frame& frame, CaptureCounters& counters);

// The parser for one of libpcap's DLT_ values; null for a link type that is not supported.
LinkParser FindLinkParser(int link_type);

}  // namespace packetdb::host
