#include "host/sources/cooked.h"

#include "host/sources/ethernet.h"
#include "host/sources/event.h"

namespace packetdb::host {
namespace {

// Offsets in the pseudo headers; every field is big endian.
constexpr std::size_t kPacketTypeAt = 0;  // 16 bits
constexpr std::size_t kProtocolAt = 14;
constexpr std::size_t kCookedHeader = 16;

constexpr std::size_t kProtocolAt2 = 0;
constexpr std::size_t kInterfaceAt2 = 4;
constexpr std::size_t kPacketTypeAt2 = 10;  // 8 bits
constexpr std::size_t kHeader2 = 20;

// The kernel's packet type of what this machine sends; all others came from somewhere.
constexpr unsigned int kOutgoing = 4;

std::uint32_t Direction(unsigned int packet_type) {
  return packet_type == kOutgoing ? kFlagOut : kFlagIn;
}

}  // namespace

std::optional<LinkPacket> ParseCooked(const Frame& frame, CaptureCounters& counters) {
  if (frame.bytes.size() < kCookedHeader) return counters.Skip(SkipReason::kTruncatedLink);
  auto packet =
      ParseEtherType(Big16(frame.bytes, kProtocolAt), frame.Behind(kCookedHeader), counters);
  if (packet) packet->direction = Direction(Big16(frame.bytes, kPacketTypeAt));
  return packet;
}

std::optional<LinkPacket> ParseCooked2(const Frame& frame, CaptureCounters& counters) {
  if (frame.bytes.size() < kHeader2) return counters.Skip(SkipReason::kTruncatedLink);
  auto packet = ParseEtherType(Big16(frame.bytes, kProtocolAt2), frame.Behind(kHeader2), counters);
  if (!packet) return packet;
  packet->direction = Direction(frame.bytes[kPacketTypeAt2]);
  packet->interface_index = Big32(frame.bytes, kInterfaceAt2);
  return packet;
}

}  // namespace packetdb::host
