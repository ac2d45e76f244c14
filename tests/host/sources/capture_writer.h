// Capture files, byte by byte. A packet's length on the wire is that of the bytes given unless said
// otherwise.
#pragma once

#include <cstdint>
#include <optional>

#include "tests/host/sources/packets.h"

namespace packetdb::host::test {

// When packets of most captures were seen, Unix time; 684467200 in a journal.
inline constexpr std::uint32_t kSecond = 1000000000;

// Values of the files' link type field.
inline constexpr std::uint32_t kLinkNull = 0, kLinkEthernet = 1, kLinkRaw = 101, kLinkLoop = 108,
                               kLinkCooked = 113, kLinkPrism = 119, kLinkIpv4 = 228,
                               kLinkNflog = 239, kLinkCooked2 = 276;

// pcap. Fractions are microseconds, or nanoseconds when `nano`.
class PcapFile {
 public:
  explicit PcapFile(std::uint32_t link_type, Order order = Order::kNative, bool nano = false,
                    std::uint32_t snapshot = 262144);

  PcapFile& Packet(std::uint32_t seconds, std::uint32_t fraction, const Bytes& packet,
                   std::optional<std::uint32_t> wire_length = {});
  // A packet header that claims `captured` bytes, and then these.
  PcapFile& LyingPacket(std::uint32_t captured, const Bytes& bytes);

  const Bytes& bytes() const { return bytes_; }

 private:
  Order order_;
  Bytes bytes_;
};

// pcapng with one interface. Times are in units of 10^-resolution seconds.
class PcapngFile {
 public:
  explicit PcapngFile(std::uint32_t link_type, Order order = Order::kNative,
                      std::uint8_t resolution = 6);

  PcapngFile& Packet(std::uint64_t time, const Bytes& packet);
  PcapngFile& Block(std::uint32_t type, const Bytes& body);
  // A block whose length fields say `front` and `back`, whatever its body.
  PcapngFile& LyingBlock(std::uint32_t type, const Bytes& body, std::uint32_t front,
                         std::uint32_t back);
  // The body of an enhanced packet block that claims `captured` bytes.
  Bytes PacketBody(std::uint64_t time, const Bytes& packet, std::uint32_t captured) const;

  const Bytes& bytes() const { return bytes_; }

 private:
  Order order_;
  Bytes bytes_;
};

inline constexpr std::uint32_t kBlockInterface = 1;
inline constexpr std::uint32_t kBlockPacket = 6;

}  // namespace packetdb::host::test
