#include "host/sources/loopback.h"

namespace packetdb::host {
namespace {

constexpr std::size_t kLoopbackHeader = 4;

// The systems agree on the number of IPv4 and on nothing else.
enum Family : std::uint32_t {
  kIpv4 = 2,
  kIpv6Linux = 10,
  kIpv6NetBsd = 24,
  kIpv6FreeBsd = 28,
  kIpv6Darwin = 30,
};

std::optional<LinkPacket> ParseFamily(std::uint32_t family, const Frame& frame,
                                      CaptureCounters& counters) {
  switch (family) {
    case kIpv4:
      return LinkPacket{.network = frame.Behind(kLoopbackHeader), .prefix = {}};
    case kIpv6Linux:
    case kIpv6NetBsd:
    case kIpv6FreeBsd:
    case kIpv6Darwin:
      return counters.Skip(SkipReason::kIpv6);
    default:
      return counters.Skip(SkipReason::kNotIp);
  }
}

}  // namespace

std::optional<LinkPacket> ParseNullLoopback(const Frame& frame, CaptureCounters& counters) {
  if (frame.bytes.size() < kLoopbackHeader) return counters.Skip(SkipReason::kTruncatedLink);
  const auto family = Native<std::uint32_t>(frame.bytes, 0);
  // Families are small numbers: with the upper half set, the bytes are the other way round.
  const bool swapped = family > 0xffff;
  return ParseFamily(swapped ? __builtin_bswap32(family) : family, frame, counters);
}

std::optional<LinkPacket> ParseLoopback(const Frame& frame, CaptureCounters& counters) {
  if (frame.bytes.size() < kLoopbackHeader) return counters.Skip(SkipReason::kTruncatedLink);
  return ParseFamily(Big32(frame.bytes, 0), frame, counters);
}

}  // namespace packetdb::host
