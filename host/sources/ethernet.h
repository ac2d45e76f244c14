// Ethernet, and what it shares with other link layers: EtherTypes and VLAN tags.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "host/sources/link_layer.h"

namespace packetdb::host {

inline constexpr std::uint16_t kEtherIpv4 = 0x0800;
inline constexpr std::uint16_t kEtherArp = 0x0806;
inline constexpr std::uint16_t kEtherIpv6 = 0x86dd;

// 802.1Q and 802.1ad tags that are followed. Real networks nest two, or three with a provider's.
inline constexpr std::size_t kMaxVlanTags = 8;

// The packet behind an EtherType, past any VLAN tags. `rest` starts behind the EtherType.
std::optional<LinkPacket> ParseEtherType(std::uint16_t ether_type, Frame rest,
                                         CaptureCounters& counters);

std::optional<LinkPacket> ParseEthernet(const Frame& frame, CaptureCounters& counters);

}  // namespace packetdb::host
