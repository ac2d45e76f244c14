#include "host/sources/nflog.h"

#include <linux/netfilter.h>
#include <linux/netfilter_bridge.h>

#include "host/sources/ethernet.h"
#include "host/sources/event.h"

namespace packetdb::host {
namespace {

constexpr std::uint8_t kVersion = 0;

std::optional<SkipReason> ReasonOfEtherType(std::optional<std::uint16_t> ether_type) {
  if (ether_type == kEtherIpv4) return std::nullopt;
  if (ether_type == kEtherIpv6) return SkipReason::kIpv6;
  if (ether_type == kEtherArp) return SkipReason::kArp;
  return SkipReason::kNflogFamily;
}

// Families that see any protocol tell it in the packet header.
std::optional<SkipReason> ReasonOfFamily(std::uint8_t family, const NflogRecord& record) {
  switch (family) {
    case NFPROTO_IPV4:
      return std::nullopt;
    case NFPROTO_IPV6:
      return SkipReason::kIpv6;
    case NFPROTO_ARP:
      return SkipReason::kArp;
    case NFPROTO_BRIDGE:
    case NFPROTO_NETDEV:
      return ReasonOfEtherType(record.ether_type);
    default:
      return SkipReason::kNflogFamily;
  }
}

std::uint32_t DeviceDirection(std::uint8_t hook) {
  constexpr std::uint8_t kEgress = NF_NETDEV_INGRESS + 1;
  if (hook == NF_NETDEV_INGRESS) return kFlagIn;
  if (hook == kEgress) return kFlagOut;
  return 0;
}

// The bridge has the same hooks under the same numbers, and its own earliest one where IPv4 has the
// ingress hook.
static_assert(NF_BR_PRE_ROUTING == NF_INET_PRE_ROUTING && NF_BR_LOCAL_IN == NF_INET_LOCAL_IN &&
              NF_BR_FORWARD == NF_INET_FORWARD && NF_BR_LOCAL_OUT == NF_INET_LOCAL_OUT &&
              NF_BR_POST_ROUTING == NF_INET_POST_ROUTING && NF_BR_BROUTING == NF_INET_INGRESS);

std::uint32_t Direction(std::uint8_t family, std::optional<std::uint8_t> hook) {
  if (!hook) return 0;
  if (family == NFPROTO_NETDEV) return DeviceDirection(*hook);
  switch (*hook) {
    case NF_INET_PRE_ROUTING:
    case NF_INET_LOCAL_IN:
    case NF_INET_INGRESS:
      return kFlagIn;
    case NF_INET_FORWARD:
      return kFlagIn | kFlagOut;
    case NF_INET_LOCAL_OUT:
    case NF_INET_POST_ROUTING:
      return kFlagOut;
    default:
      return 0;
  }
}

std::uint32_t InterfaceIndex(const NflogRecord& record, std::uint32_t direction) {
  if (direction == kFlagOut) return record.index_out;
  return record.index_in != 0 ? record.index_in : record.index_out;
}

}  // namespace

std::optional<LinkPacket> ParseNflog(const Frame& frame, CaptureCounters& counters) {
  if (frame.bytes.size() < kNflogHeader) return counters.Skip(SkipReason::kTruncatedLink);
  if (frame.bytes[kNflogVersionAt] != kVersion) return counters.Skip(SkipReason::kNflogDamaged);
  return ParseNflogRecord(frame.bytes[kNflogFamilyAt], ReadNflogRecord(frame.Behind(kNflogHeader)),
                          counters);
}

std::optional<LinkPacket> ParseNflogRecord(std::uint8_t family, const NflogRecord& record,
                                           CaptureCounters& counters) {
  if (record.damaged) return counters.Skip(SkipReason::kNflogDamaged);
  if (const auto reason = ReasonOfFamily(family, record)) return counters.Skip(*reason);
  if (record.payload.bytes.empty()) return counters.Skip(SkipReason::kNflogNoPayload);
  const std::uint32_t direction = Direction(family, record.hook);
  return LinkPacket{.network = record.payload,
                    .direction = direction,
                    .interface_index = InterfaceIndex(record, direction),
                    .prefix = record.prefix};
}

}  // namespace packetdb::host
