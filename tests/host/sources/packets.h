// Packets, byte by byte.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <vector>

namespace packetdb::host::test {

using Bytes = std::vector<std::uint8_t>;

enum class Order { kNative, kSwapped };

Bytes Big(std::uint16_t value);
Bytes Big(std::uint32_t value);
Bytes Ordered(Order order, std::uint16_t value);
Bytes Ordered(Order order, std::uint32_t value);
Bytes Ordered(Order order, std::uint64_t value);
Bytes Text(std::string_view text);
Bytes Zeros(std::size_t count);
Bytes operator+(Bytes front, const Bytes& back);
Bytes FirstOf(const Bytes& bytes, std::size_t count);

inline constexpr std::uint8_t kIcmp = 1;
inline constexpr std::uint8_t kTcp = 6;
inline constexpr std::uint8_t kUdp = 17;
inline constexpr std::uint8_t kEsp = 50;

// A UDP header, from port 1000 to port 53, and four bytes.
Bytes UdpPayload();

// From 10.0.0.1 to 10.0.0.2. By default UDP from port 1000 to port 53, 32 bytes in all.
struct Ipv4 {
  std::uint8_t protocol = kUdp;
  Bytes payload = UdpPayload();
  Bytes options = {};
  std::optional<std::uint16_t> total_length = {};    // instead of the true one
  std::optional<std::uint8_t> version_and_ihl = {};  // instead of the true one
  std::uint16_t fragment = 0;                        // flags and offset

  Bytes Build() const;
};

Bytes Udp();

Bytes Ethernet(std::uint16_t ether_type, const Bytes& payload);
// The inside of a VLAN-tagged frame: number, EtherType and what it announces.
Bytes Tag(std::uint16_t vlan, std::uint16_t ether_type, const Bytes& payload);
Bytes Cooked(std::uint16_t packet_type, std::uint16_t protocol, const Bytes& payload);
Bytes Cooked2(std::uint8_t packet_type, std::uint32_t index, std::uint16_t protocol,
              const Bytes& payload);

// Netfilter log records.
inline constexpr std::uint8_t kFamilyIpv4 = 2;
inline constexpr std::uint8_t kFamilyArp = 3;
inline constexpr std::uint8_t kFamilyNetdev = 5;
inline constexpr std::uint8_t kFamilyBridge = 7;
inline constexpr std::uint8_t kFamilyIpv6 = 10;
inline constexpr std::uint8_t kPrerouting = 0, kInput = 1, kForward = 2, kOutput = 3,
                              kPostrouting = 4, kIngress = 5;

// One attribute with its padding.
Bytes Attribute(std::uint16_t type, const Bytes& value, Order order = Order::kNative);
Bytes PacketHeader(std::uint8_t hook, std::uint16_t ether_type = 0x0800);
inline constexpr std::uint16_t kTypePacketHeader = 1, kTypeMark = 2, kTypeTimestamp = 3,
                               kTypeIndexIn = 4, kTypeIndexOut = 5, kTypePayload = 9,
                               kTypePrefix = 10, kTypeUid = 11;
Bytes Nflog(std::uint8_t family, const Bytes& attributes);
// A record as the kernel writes it for an IPv4 packet.
Bytes FullNflog(std::uint8_t hook, std::uint32_t in, std::uint32_t out, std::string_view prefix,
                const Bytes& payload = Udp(), Order order = Order::kNative);

}  // namespace packetdb::host::test
