#include "host/sources/nflog.h"

#include <linux/netfilter.h>
#include <linux/netfilter_bridge.h>

#include "host/sources/ethernet.h"
#include "host/sources/event.h"
#include "host/sources/nflog_attributes.h"

namespace packetdb::host {
namespace {

constexpr std::size_t kFamilyAt = 0;
constexpr std::size_t kVersionAt = 1;
constexpr std::size_t kHeader = 4;
constexpr std::uint8_t kVersion = 0;

struct Record {
  std::optional<std::uint16_t> ether_type;
  std::optional<std::uint8_t> hook;
  std::uint32_t index_in = 0;
  std::uint32_t index_out = 0;
  std::string_view prefix;
  Frame payload;
};

// The kernel ends the text with a NUL; other writers may not.
std::string_view PrefixText(ByteView value) {
  const std::string_view text(reinterpret_cast<const char*>(value.data()), value.size());
  return text.substr(0, text.find('\0'));
}

bool ReadPacketHeader(ByteView value, Record& record) {
  constexpr std::size_t kLength = 4;  // EtherType, hook, a pad byte
  if (value.size() < kLength) return false;
  record.ether_type = Big16(value, 0);
  record.hook = value[2];
  return true;
}

bool ReadIndex(ByteView value, std::uint32_t& index) {
  if (value.size() < sizeof index) return false;
  index = Big32(value, 0);
  return true;
}

// False: the value is too short for its type.
bool ReadAttribute(const NflogAttribute& attribute, Record& record) {
  switch (attribute.type) {
    case kNflogPacketHeader:
      return ReadPacketHeader(attribute.value.bytes, record);
    case kNflogIndexIn:
      return ReadIndex(attribute.value.bytes, record.index_in);
    case kNflogIndexOut:
      return ReadIndex(attribute.value.bytes, record.index_out);
    case kNflogPrefix:
      record.prefix = PrefixText(attribute.value.bytes);
      return true;
    case kNflogPayload:
      record.payload = attribute.value;
      return true;
    default:
      return true;
  }
}

// Empty: damaged.
std::optional<Record> ReadRecord(const Frame& frame) {
  Record record;
  NflogAttributes attributes(frame);
  while (const auto attribute = attributes.Next()) {
    const bool cut = attribute->value.bytes.size() < attribute->value.wire_length;
    if (!ReadAttribute(*attribute, record) && !cut) return std::nullopt;
  }
  if (attributes.damaged()) return std::nullopt;
  return record;
}

std::optional<SkipReason> ReasonOfEtherType(std::optional<std::uint16_t> ether_type) {
  if (ether_type == kEtherIpv4) return std::nullopt;
  if (ether_type == kEtherIpv6) return SkipReason::kIpv6;
  if (ether_type == kEtherArp) return SkipReason::kArp;
  return SkipReason::kNflogFamily;
}

// Families that see any protocol tell it in the packet header.
std::optional<SkipReason> ReasonOfFamily(std::uint8_t family, const Record& record) {
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

std::uint32_t InterfaceIndex(const Record& record, std::uint32_t direction) {
  if (direction == kFlagOut) return record.index_out;
  return record.index_in != 0 ? record.index_in : record.index_out;
}

}  // namespace

std::optional<LinkPacket> ParseNflog(const Frame& frame, CaptureCounters& counters) {
  if (frame.bytes.size() < kHeader) return counters.Skip(SkipReason::kTruncatedLink);
  if (frame.bytes[kVersionAt] != kVersion) return counters.Skip(SkipReason::kNflogDamaged);
  return ParseNflogAttributes(frame.bytes[kFamilyAt], frame.Behind(kHeader), counters);
}

std::optional<LinkPacket> ParseNflogAttributes(std::uint8_t family, const Frame& attributes,
                                               CaptureCounters& counters) {
  const std::optional<Record> record = ReadRecord(attributes);
  if (!record) return counters.Skip(SkipReason::kNflogDamaged);
  if (const auto reason = ReasonOfFamily(family, *record)) return counters.Skip(*reason);
  if (record->payload.bytes.empty()) return counters.Skip(SkipReason::kNflogNoPayload);
  const std::uint32_t direction = Direction(family, record->hook);
  return LinkPacket{.network = record->payload,
                    .direction = direction,
                    .interface_index = InterfaceIndex(*record, direction),
                    .prefix = record->prefix};
}

}  // namespace packetdb::host
