// IPv4 addresses as text.
#pragma once

#include <cstdint>
#include <string>

namespace packetdb::host {

// "10.0.0.7" from host byte order.
std::string AddressText(std::uint32_t address);

void AppendAddress(std::uint32_t address, std::string* text);

}  // namespace packetdb::host
