#include "host/cli/parse_endpoint.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <string>

#include "host/cli/parse_number.h"
#include "host/cli/usage_error.h"

namespace packetdb::host {

namespace {

constexpr int kAddressBits = 32;
constexpr std::uint32_t kAllAddresses = 0xFFFFFFFF;

std::uint32_t ParseAddress(const std::string& text) {
  in_addr address{};
  if (inet_pton(AF_INET, text.c_str(), &address) != 1) {
    throw UsageError(fmt::format(
        "'{}' is not an IPv4 address: give 10.0.0.7, 10.0.0.0/8 or 10.0.0.1-10.0.0.9", text));
  }
  return ntohl(address.s_addr);
}

Range<std::uint32_t> ParseNetwork(std::string_view text, std::size_t slash) {
  const std::uint32_t address = ParseAddress(std::string(text.substr(0, slash)));
  const auto bits = ParseNumber(text.substr(slash + 1), 0, kAddressBits);
  if (!bits) {
    throw UsageError(
        fmt::format("'{}' is not a network: behind '/' goes a number of bits from 0 "
                    "to {}",
                    text, kAddressBits));
  }
  const std::uint32_t host_bits = *bits == kAddressBits ? 0 : kAllAddresses >> *bits;
  if ((address & host_bits) != 0) {
    throw UsageError(
        fmt::format("'{}' is not a network: the address has bits set beyond /{}", text, *bits));
  }
  return {address, address | host_bits};
}

template <class T>
Range<T> Checked(Range<T> range, std::string_view text) {
  if (range.from > range.to) {
    throw UsageError(fmt::format("the range '{}' is empty: its first is above its last", text));
  }
  if (range.to == 0) {
    throw UsageError(fmt::format("'{}' cannot be asked for alone: a query takes 0 for any", text));
  }
  return range.from == range.to ? Range<T>{range.from, 0} : range;
}

std::uint16_t ParsePort(const std::string& text) {
  const auto port = ParseNumber(text, 0, 65535);
  if (!port) {
    throw UsageError(
        fmt::format("'{}' is not a port: give a number from 1 to 65535, or FROM-TO", text));
  }
  return static_cast<std::uint16_t>(*port);
}

}  // namespace

Range<std::uint32_t> ParseAddresses(std::string_view text) {
  if (const std::size_t slash = text.find('/'); slash != std::string_view::npos) {
    return Checked(ParseNetwork(text, slash), text);
  }
  const auto [from, to] = SplitRange(text);
  return Checked(Range<std::uint32_t>{ParseAddress(from), ParseAddress(to)}, text);
}

Range<std::uint16_t> ParsePorts(std::string_view text) {
  const auto [from, to] = SplitRange(text);
  return Checked(Range<std::uint16_t>{ParsePort(from), ParsePort(to)}, text);
}

}  // namespace packetdb::host
