#include "tests/host/sources/capture_writer.h"

namespace packetdb::host::test {
namespace {

constexpr std::uint32_t kMicroMagic = 0xa1b2c3d4;
constexpr std::uint32_t kNanoMagic = 0xa1b23c4d;
constexpr std::uint32_t kSectionBlock = 0x0a0d0d0a;
constexpr std::uint32_t kByteOrderMagic = 0x1a2b3c4d;
constexpr std::uint16_t kTimeResolution = 9;  // an option

std::uint32_t Size(const Bytes& bytes) { return static_cast<std::uint32_t>(bytes.size()); }

Bytes Padding(const Bytes& bytes) { return Zeros((4 - bytes.size() % 4) % 4); }

std::uint16_t U16(unsigned int value) { return static_cast<std::uint16_t>(value); }

}  // namespace

PcapFile::PcapFile(std::uint32_t link_type, Order order, bool nano, std::uint32_t snapshot)
    : order_(order),
      bytes_(Ordered(order, nano ? kNanoMagic : kMicroMagic) + Ordered(order, U16(2)) +
             Ordered(order, U16(4)) + Zeros(8) + Ordered(order, snapshot) +
             Ordered(order, link_type)) {}

PcapFile& PcapFile::Packet(std::uint32_t seconds, std::uint32_t fraction, const Bytes& packet,
                           std::optional<std::uint32_t> wire_length) {
  bytes_ = bytes_ + Ordered(order_, seconds) + Ordered(order_, fraction) +
           Ordered(order_, Size(packet)) + Ordered(order_, wire_length.value_or(Size(packet))) +
           packet;
  return *this;
}

PcapFile& PcapFile::LyingPacket(std::uint32_t captured, const Bytes& bytes) {
  bytes_ = bytes_ + Zeros(8) + Ordered(order_, captured) + Ordered(order_, captured) + bytes;
  return *this;
}

PcapngFile::PcapngFile(std::uint32_t link_type, Order order, std::uint8_t resolution)
    : order_(order) {
  Block(kSectionBlock, Ordered(order, kByteOrderMagic) + Ordered(order, U16(1)) +
                           Ordered(order, U16(0)) + Bytes(8, 0xff));
  Block(kBlockInterface, Ordered(order, U16(link_type)) + Zeros(2) +
                             Ordered(order, std::uint32_t{262144}) +
                             Ordered(order, kTimeResolution) + Ordered(order, U16(1)) +
                             Bytes{resolution, 0, 0, 0} + Zeros(4));
}

PcapngFile& PcapngFile::Packet(std::uint64_t time, const Bytes& packet) {
  return Block(kBlockPacket, PacketBody(time, packet, Size(packet)));
}

PcapngFile& PcapngFile::Block(std::uint32_t type, const Bytes& body) {
  const std::uint32_t length = Size(body) + 12;
  return LyingBlock(type, body, length, length);
}

PcapngFile& PcapngFile::LyingBlock(std::uint32_t type, const Bytes& body, std::uint32_t front,
                                   std::uint32_t back) {
  bytes_ = bytes_ + Ordered(order_, type) + Ordered(order_, front) + body + Ordered(order_, back);
  return *this;
}

Bytes PcapngFile::PacketBody(std::uint64_t time, const Bytes& packet,
                             std::uint32_t captured) const {
  const auto high = static_cast<std::uint32_t>(time >> 32);
  const auto low = static_cast<std::uint32_t>(time);
  return Zeros(4) + Ordered(order_, high) + Ordered(order_, low) + Ordered(order_, captured) +
         Ordered(order_, Size(packet)) + packet + Padding(packet);
}

}  // namespace packetdb::host::test
