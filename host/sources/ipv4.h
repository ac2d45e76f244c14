// The IPv4 header, and what an event wants of the header behind it.
#pragma once

#include <cstdint>
#include <optional>

#include "host/sources/bytes.h"
#include "host/sources/counters.h"

namespace packetdb::host {

struct Ipv4Packet {
  std::uint32_t source = 0;  // host byte order
  std::uint32_t destination = 0;
  std::uint32_t total_length = 0;  // of the packet, header included
  std::uint16_t source_port = 0;   // host byte order; 0 without ports
  std::uint16_t destination_port = 0;
  std::uint16_t icmp = 0;  // type << 8 | code; 0 for other protocols
  std::uint8_t protocol = 0;
  bool later_fragment = false;  // does not start its packet
};

// Reads the packet that starts at the frame's first byte. Bytes behind the total length are padding
// and never looked at. A total length of 0, which segmentation offload leaves behind, stands for
// the wire length. Ports that are not among the bytes are 0 and remarked.
std::optional<Ipv4Packet> ParseIpv4(const Frame& frame, CaptureCounters& counters);

}  // namespace packetdb::host
