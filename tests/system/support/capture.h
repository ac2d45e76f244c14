// Captures of made-up UDP packets.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace packetdb::host::test {

struct UdpPacket {
  std::uint32_t seconds = 0;  // Unix time
  std::uint32_t source = 0;   // addresses in host byte order
  std::uint32_t destination = 0;
  std::uint16_t source_port = 0;
  std::uint16_t destination_port = 0;
};

// The bytes of each packet's IP header, UDP header and payload together.
inline constexpr std::uint32_t kUdpPacketSize = 28;

// The header of a capture of bare IP packets, and one packet of it.
std::string CaptureHeader();
std::string CapturedPacket(const UdpPacket& packet);

std::string Capture(const std::vector<UdpPacket>& packets);

// Packets in order of time, most of them repeats of one another; a second has some `per_second`.
std::vector<UdpPacket> RepeatingPackets(std::size_t count, std::uint32_t per_second,
                                        std::mt19937& random);

}  // namespace packetdb::host::test
