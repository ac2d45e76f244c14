#include "host/sources/raw_ip.h"

namespace packetdb::host {

std::optional<LinkPacket> ParseRawIp(const Frame& frame, CaptureCounters& counters) {
  if (!frame.bytes.empty() && frame.bytes[0] >> 4 == 6) return counters.Skip(SkipReason::kIpv6);
  return ParseRawIpv4(frame, counters);
}

std::optional<LinkPacket> ParseRawIpv4(const Frame& frame, CaptureCounters&) {
  return LinkPacket{.network = frame, .prefix = {}};
}

}  // namespace packetdb::host
