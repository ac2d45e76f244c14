#include "host/config/protocols.h"

#include <fmt/format.h>
#include <iterator>

namespace packetdb::host {
namespace {

struct Protocol {
  std::string_view name;
  std::uint8_t number;
};

// IANA's keywords for what packet filters meet.
constexpr Protocol kProtocols[] = {
    {"icmp", 1},  {"igmp", 2},   {"ipip", 4},   {"tcp", 6},       {"udp", 17},
    {"dccp", 33}, {"gre", 47},   {"esp", 50},   {"ah", 51},       {"ospf", 89},
    {"pim", 103}, {"vrrp", 112}, {"sctp", 132}, {"udplite", 136},
};

}  // namespace

std::optional<std::uint8_t> ProtocolByName(std::string_view name) {
  for (const Protocol& protocol : kProtocols) {
    if (protocol.name == name) return protocol.number;
  }
  return std::nullopt;
}

std::string ProtocolNames() {
  std::string names;
  for (const Protocol& protocol : kProtocols) {
    fmt::format_to(std::back_inserter(names), "{}{}", names.empty() ? "" : ", ", protocol.name);
  }
  return names;
}

std::string ShowProtocol(std::uint8_t number) {
  for (const Protocol& protocol : kProtocols) {
    if (protocol.number == number) return std::string(protocol.name);
  }
  return std::to_string(number);
}

}  // namespace packetdb::host
