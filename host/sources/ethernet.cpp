#include "host/sources/ethernet.h"

namespace packetdb::host {
namespace {

constexpr std::size_t kEtherHeader = 14;
constexpr std::size_t kEtherTypeAt = 12;
constexpr std::size_t kTagLength = 4;  // priority and VLAN number, then the next EtherType

bool IsTag(std::uint16_t ether_type) {
  constexpr std::uint16_t k8021Q = 0x8100;
  constexpr std::uint16_t k8021ad = 0x88a8;
  constexpr std::uint16_t kStackedQ = 0x9100;  // what was used before 802.1ad
  return ether_type == k8021Q || ether_type == k8021ad || ether_type == kStackedQ;
}

}  // namespace

std::optional<LinkPacket> ParseEtherType(std::uint16_t ether_type, Frame rest,
                                         CaptureCounters& counters) {
  for (std::size_t tags = 0; IsTag(ether_type); ++tags) {
    if (tags == kMaxVlanTags) return counters.Skip(SkipReason::kTooManyTags);
    if (rest.bytes.size() < kTagLength) return counters.Skip(SkipReason::kTruncatedLink);
    ether_type = Big16(rest.bytes, 2);
    rest = rest.Behind(kTagLength);
  }
  switch (ether_type) {
    case kEtherIpv4:
      return LinkPacket{.network = rest, .prefix = {}};
    case kEtherIpv6:
      return counters.Skip(SkipReason::kIpv6);
    case kEtherArp:
      return counters.Skip(SkipReason::kArp);
    default:
      return counters.Skip(SkipReason::kNotIp);
  }
}

std::optional<LinkPacket> ParseEthernet(const Frame& frame, CaptureCounters& counters) {
  if (frame.bytes.size() < kEtherHeader) return counters.Skip(SkipReason::kTruncatedLink);
  return ParseEtherType(Big16(frame.bytes, kEtherTypeAt), frame.Behind(kEtherHeader), counters);
}

}  // namespace packetdb::host
