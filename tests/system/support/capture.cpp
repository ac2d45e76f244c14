#include "tests/system/support/capture.h"

#include <cstring>

#include "tests/system/support/records.h"

namespace packetdb::host::test {

namespace {

constexpr std::uint32_t kRawIp = 101;  // the link type of packets without a link layer
constexpr std::uint32_t kSnapLength = 65535;
constexpr unsigned char kUdp = 17;

template <class T>
void AppendOwn(std::string& bytes, T value) {
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void AppendBig16(std::string& bytes, std::uint32_t value) {
  bytes.push_back(static_cast<char>(value >> 8));
  bytes.push_back(static_cast<char>(value));
}

void AppendBig32(std::string& bytes, std::uint32_t value) {
  AppendBig16(bytes, value >> 16);
  AppendBig16(bytes, value & 0xFFFF);
}

std::string IpPacket(const UdpPacket& packet) {
  constexpr std::uint32_t kUdpHeader = 8;
  std::string bytes("\x45\0", 2);
  AppendBig16(bytes, kUdpPacketSize);
  AppendBig32(bytes, 0);  // identification, not a fragment
  bytes.push_back(64);
  bytes.push_back(static_cast<char>(kUdp));
  AppendBig16(bytes, 0);
  AppendBig32(bytes, packet.source);
  AppendBig32(bytes, packet.destination);
  AppendBig16(bytes, packet.source_port);
  AppendBig16(bytes, packet.destination_port);
  AppendBig16(bytes, kUdpHeader);
  AppendBig16(bytes, 0);
  return bytes;
}

}  // namespace

std::string CaptureHeader() {
  std::string bytes;
  AppendOwn<std::uint32_t>(bytes, 0xA1B2C3D4);
  AppendOwn<std::uint16_t>(bytes, 2);
  AppendOwn<std::uint16_t>(bytes, 4);
  AppendOwn<std::uint64_t>(bytes, 0);  // time zone and accuracy, unused
  AppendOwn(bytes, kSnapLength);
  AppendOwn(bytes, kRawIp);
  return bytes;
}

std::string CapturedPacket(const UdpPacket& packet) {
  std::string bytes;
  AppendOwn(bytes, packet.seconds);
  AppendOwn<std::uint32_t>(bytes, 0);
  AppendOwn(bytes, kUdpPacketSize);
  AppendOwn(bytes, kUdpPacketSize);
  return bytes + IpPacket(packet);
}

std::string Capture(const std::vector<UdpPacket>& packets) {
  std::string bytes = CaptureHeader();
  for (const UdpPacket& packet : packets) {
    bytes += CapturedPacket(packet);
  }
  return bytes;
}

std::vector<UdpPacket> RepeatingPackets(std::size_t count, std::uint32_t per_second,
                                        std::mt19937& random) {
  constexpr std::uint32_t kSources = 60;
  std::vector<UdpPacket> packets;
  for (std::uint32_t i = 0; i < count; ++i) {
    UdpPacket packet;
    packet.seconds = static_cast<std::uint32_t>(kEpoch) + i / per_second;
    packet.source = 0x0A000000 + static_cast<std::uint32_t>(random() % kSources);
    packet.destination = 0xC0000201;
    packet.source_port = static_cast<std::uint16_t>(1024 + random() % 20);
    packet.destination_port = 53;
    packets.push_back(packet);
  }
  return packets;
}

}  // namespace packetdb::host::test
