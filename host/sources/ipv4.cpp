#include "host/sources/ipv4.h"

#include <algorithm>

namespace packetdb::host {
namespace {

// Offsets in the header (RFC 791).
constexpr std::size_t kVersionAndIhl = 0;
constexpr std::size_t kTotalLength = 2;
constexpr std::size_t kFragment = 6;
constexpr std::size_t kProtocol = 9;
constexpr std::size_t kSource = 12;
constexpr std::size_t kDestination = 16;
constexpr std::size_t kFixedHeader = 20;
constexpr std::uint16_t kFragmentOffsetMask = 0x1fff;

enum Protocol : std::uint8_t {
  kIcmp = 1,
  kTcp = 6,
  kUdp = 17,
  kDccp = 33,
  kSctp = 132,
  kUdpLite = 136,
};

// All of them start with source and destination port.
bool HasPorts(std::uint8_t protocol) {
  switch (protocol) {
    case kTcp:
    case kUdp:
    case kDccp:
    case kSctp:
    case kUdpLite:
      return true;
    default:
      return false;
  }
}

std::size_t HeaderLength(ByteView bytes) {
  return static_cast<std::size_t>(bytes[kVersionAndIhl] & 0xf) * 4;
}

std::size_t PacketLength(const Frame& frame) {
  const std::size_t stated = Big16(frame.bytes, kTotalLength);
  return stated != 0 ? stated : frame.wire_length;
}

// What keeps the frame from being an IPv4 packet, if anything.
std::optional<SkipReason> Defect(const Frame& frame) {
  const ByteView bytes = frame.bytes;
  if (!bytes.empty() && bytes[kVersionAndIhl] >> 4 != 4) return SkipReason::kBadVersion;
  if (bytes.size() < kFixedHeader) return SkipReason::kTruncatedIpv4;
  if (HeaderLength(bytes) < kFixedHeader) return SkipReason::kBadHeaderLength;
  if (PacketLength(frame) < HeaderLength(bytes)) return SkipReason::kBadTotalLength;
  return std::nullopt;
}

// The packet's bytes behind the header, as far as they are there.
ByteView Transport(const Frame& frame) {
  const std::size_t end = std::min(frame.bytes.size(), PacketLength(frame));
  const std::size_t start = std::min(end, HeaderLength(frame.bytes));
  return frame.bytes.subspan(start, end - start);
}

// 0 when the two bytes are not there.
std::uint16_t Field(ByteView transport, std::size_t at) {
  return transport.size() >= at + 2 ? Big16(transport, at) : std::uint16_t{0};
}

void ReadTransport(ByteView transport, Ipv4Packet& packet, CaptureCounters& counters) {
  std::size_t needed = 0;
  if (packet.protocol == kIcmp) {
    packet.icmp = Field(transport, 0);
    needed = 2;
  } else if (HasPorts(packet.protocol)) {
    packet.source_port = Field(transport, 0);
    packet.destination_port = Field(transport, 2);
    needed = 4;
  }
  if (transport.size() < needed) counters.Note(Remark::kPortsNotCaptured);
}

}  // namespace

std::optional<Ipv4Packet> ParseIpv4(const Frame& frame, CaptureCounters& counters) {
  if (const auto defect = Defect(frame)) return counters.Skip(*defect);
  const ByteView bytes = frame.bytes;
  Ipv4Packet packet;
  packet.source = Big32(bytes, kSource);
  packet.destination = Big32(bytes, kDestination);
  packet.total_length = static_cast<std::uint32_t>(PacketLength(frame));
  packet.protocol = bytes[kProtocol];
  packet.later_fragment = (Big16(bytes, kFragment) & kFragmentOffsetMask) != 0;
  if (!packet.later_fragment) ReadTransport(Transport(frame), packet, counters);
  return packet;
}

}  // namespace packetdb::host
