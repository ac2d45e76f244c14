// IPv4 addresses, networks and ranges in texts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/config/configuration.h"

namespace packetdb::host {

std::optional<std::uint32_t> ParseIpv4(std::string_view text);
std::string ShowIpv4(std::uint32_t address);

// What was read, or else why it was not; the reason may be empty.
struct NetworkOrWhy {
  std::optional<std::uint32_t> network;
  std::uint8_t prefix_length = 0;
  std::string why;
};
// "10.0.0.0/8"; "10.0.0.7" is a network of one address.
NetworkOrWhy ParseNetwork(std::string_view text);
std::string ShowNetwork(std::uint32_t network, std::uint8_t prefix_length);

struct AddressesOrWhy {
  std::optional<ExclusionSettings::Addresses> addresses;
  std::string why;
};
// "10.0.0.0/8", "10.0.0.7" or "10.0.0.1-10.0.0.9".
AddressesOrWhy ParseAddressRange(std::string_view text);
std::string ShowAddressRange(const ExclusionSettings::Addresses& addresses);

}  // namespace packetdb::host
