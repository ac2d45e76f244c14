#include "tests/host/sources/packets.h"

#include <algorithm>
#include <array>

namespace packetdb::host::test {
namespace {

template <class T>
Bytes Raw(T value, bool swapped) {
  const auto raw = std::bit_cast<std::array<std::uint8_t, sizeof value>>(value);
  Bytes bytes(raw.begin(), raw.end());
  if (swapped) std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

constexpr bool kLittle = std::endian::native == std::endian::little;

}  // namespace

Bytes Big(std::uint16_t value) { return Raw(value, kLittle); }
Bytes Big(std::uint32_t value) { return Raw(value, kLittle); }
Bytes Ordered(Order order, std::uint16_t value) { return Raw(value, order == Order::kSwapped); }
Bytes Ordered(Order order, std::uint32_t value) { return Raw(value, order == Order::kSwapped); }
Bytes Ordered(Order order, std::uint64_t value) { return Raw(value, order == Order::kSwapped); }
Bytes Text(std::string_view text) { return {text.begin(), text.end()}; }
Bytes Zeros(std::size_t count) { return Bytes(count, 0); }

Bytes operator+(Bytes front, const Bytes& back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

Bytes FirstOf(const Bytes& bytes, std::size_t count) {
  return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)};
}

Bytes UdpPayload() { return {0x03, 0xe8, 0x00, 0x35, 0, 12, 0, 0, 'a', 'b', 'c', 'd'}; }

Bytes Udp() { return Ipv4{}.Build(); }

Bytes Ipv4::Build() const {
  const std::size_t header = 20 + options.size();
  const std::size_t total = header + payload.size();
  return Bytes{version_and_ihl.value_or(static_cast<std::uint8_t>(0x40 | header / 4)), 0} +
         Big(total_length.value_or(static_cast<std::uint16_t>(total))) + Bytes{0, 7} +
         Big(fragment) + Bytes{64, protocol, 0, 0} + Bytes{10, 0, 0, 1, 10, 0, 0, 2} + options +
         payload;
}

Bytes Ethernet(std::uint16_t ether_type, const Bytes& payload) {
  return Bytes(12, 0xee) + Big(ether_type) + payload;
}

Bytes Tag(std::uint16_t vlan, std::uint16_t ether_type, const Bytes& payload) {
  return Big(vlan) + Big(ether_type) + payload;
}

Bytes Cooked(std::uint16_t packet_type, std::uint16_t protocol, const Bytes& payload) {
  return Big(packet_type) + Bytes{0, 1, 0, 6} + Bytes(8, 0xee) + Big(protocol) + payload;
}

Bytes Cooked2(std::uint8_t packet_type, std::uint32_t index, std::uint16_t protocol,
              const Bytes& payload) {
  return Big(protocol) + Zeros(2) + Big(index) + Bytes{0, 1, packet_type, 6} + Bytes(8, 0xee) +
         payload;
}

Bytes Attribute(std::uint16_t type, const Bytes& value, Order order) {
  const auto length = static_cast<std::uint16_t>(value.size() + 4);
  return Ordered(order, length) + Ordered(order, type) + value + Zeros((4 - value.size() % 4) % 4);
}

Bytes PacketHeader(std::uint8_t hook, std::uint16_t ether_type) {
  return Big(ether_type) + Bytes{hook, 0};
}

Bytes Nflog(std::uint8_t family, const Bytes& attributes) {
  return Bytes{family, 0, 0, 5} + attributes;
}

Bytes FullNflog(std::uint8_t hook, std::uint32_t in, std::uint32_t out, std::string_view prefix,
                const Bytes& payload, Order order) {
  Bytes attributes = Attribute(kTypePacketHeader, PacketHeader(hook), order) +
                     Attribute(kTypePrefix, Text(prefix) + Zeros(1), order);
  if (in != 0) attributes = attributes + Attribute(kTypeIndexIn, Big(in), order);
  if (out != 0) attributes = attributes + Attribute(kTypeIndexOut, Big(out), order);
  return Nflog(kFamilyIpv4, attributes + Attribute(kTypeMark, Big(0xffffffffU), order) +
                                Attribute(kTypeTimestamp, Bytes(16, 0x11), order) +
                                Attribute(kTypeUid, Big(1000U), order) +
                                Attribute(kTypePayload, payload, order));
}

}  // namespace packetdb::host::test
