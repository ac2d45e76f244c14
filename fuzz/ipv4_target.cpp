// An IPv4 packet to fields. The input: how many bytes the capture cut off, 16 bits, and the rest.
#include <algorithm>

#include "fuzz/promise.h"
#include "fuzz/target.h"
#include "host/sources/ipv4.h"

namespace packetdb::fuzz {
namespace {

using host::Big16;
using host::Big32;
using host::ByteView;

bool HasPorts(std::uint8_t protocol) {
  constexpr std::uint8_t kProtocols[] = {6, 17, 33, 132, 136};
  return std::find(std::begin(kProtocols), std::end(kProtocols), protocol) != std::end(kProtocols);
}

// The 16 bits at an offset behind the header, where the packet and its captured bytes reach.
std::uint16_t Behind(ByteView bytes, std::size_t total, std::size_t at) {
  const std::size_t from = (bytes[0] & 0xFU) * 4U + at;
  const bool is_there = from + 2 <= std::min(bytes.size(), total);
  return is_there ? Big16(bytes, from) : std::uint16_t{0};
}

void CheckTransport(ByteView bytes, const host::Ipv4Packet& packet) {
  const bool starts = (Big16(bytes, 6) & 0x1FFFU) == 0;
  const bool has_ports = starts && HasPorts(bytes[9]);
  const std::size_t total = packet.total_length;
  Require(packet.later_fragment == !starts, "a fragment is told by its offset");
  Require(packet.source_port == (has_ports ? Behind(bytes, total, 0) : 0), "the source port");
  Require(packet.destination_port == (has_ports ? Behind(bytes, total, 2) : 0),
          "the destination port");
  Require(packet.icmp == (starts && bytes[9] == 1 ? Behind(bytes, total, 0) : 0),
          "ICMP type and code");
}

void CheckPacket(const host::Frame& frame, const host::Ipv4Packet& packet) {
  const ByteView bytes = frame.bytes;
  Require(bytes.size() >= 20 && bytes[0] >> 4 == 4 && (bytes[0] & 0xF) >= 5, "a header of IPv4");
  Require(packet.source == Big32(bytes, 12), "the source address");
  Require(packet.destination == Big32(bytes, 16), "the destination address");
  Require(packet.protocol == bytes[9], "the protocol");
  const std::size_t stated = Big16(bytes, 2);
  Require(packet.total_length == (stated != 0 ? stated : frame.wire_length), "the length");
  Require(packet.total_length >= (bytes[0] & 0xFU) * 4U, "a packet is as long as its header");
  CheckTransport(bytes, packet);
}

}  // namespace

void TryInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return;
  const ByteView bytes = ByteView(data, size).subspan(2);
  const host::Frame frame = {bytes, bytes.size() + Big16({data, size}, 0)};
  host::CaptureCounters counters;
  const auto packet = ParseIpv4(frame, counters);
  Require(counters.skipped() == (packet ? 0U : 1U), "a packet that is none has one reason");
  if (packet) CheckPacket(frame, *packet);
}

}  // namespace packetdb::fuzz
