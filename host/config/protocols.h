// IP protocols by name.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace packetdb::host {

std::optional<std::uint8_t> ProtocolByName(std::string_view name);
// All names, in the order of their numbers and separated by commas.
std::string ProtocolNames();
// The name of a protocol; the number where it has none.
std::string ShowProtocol(std::uint8_t number);

}  // namespace packetdb::host
