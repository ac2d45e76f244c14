#include "host/config/networks.h"

#include <arpa/inet.h>
#include <bit>
#include <charconv>
#include <fmt/format.h>

namespace packetdb::host {
namespace {

constexpr std::uint8_t kAddressBits = 32;

// The bits of an address behind the prefix.
std::uint32_t HostBits(std::uint8_t prefix_length) {
  return prefix_length == kAddressBits ? 0 : 0xFFFFFFFFU >> prefix_length;
}

std::optional<std::uint8_t> ParsePrefixLength(std::string_view text) {
  std::uint8_t length = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, length);
  if (error != std::errc() || stop != end || length > kAddressBits) return std::nullopt;
  return length;
}

AddressesOrWhy OfNetwork(std::string_view text) {
  NetworkOrWhy read = ParseNetwork(text);
  if (!read.network) return {std::nullopt, std::move(read.why)};
  return {{{*read.network, *read.network | HostBits(read.prefix_length)}}, ""};
}

}  // namespace

std::optional<std::uint32_t> ParseIpv4(std::string_view text) {
  // inet_pton ends at a NUL, wherever it is.
  if (text.find('\0') != std::string_view::npos) return std::nullopt;
  in_addr address{};
  if (inet_pton(AF_INET, std::string(text).c_str(), &address) != 1) return std::nullopt;
  return ntohl(address.s_addr);
}

std::string ShowIpv4(std::uint32_t address) {
  return fmt::format("{}.{}.{}.{}", address >> 24U, address >> 16U & 0xFFU, address >> 8U & 0xFFU,
                     address & 0xFFU);
}

NetworkOrWhy ParseNetwork(std::string_view text) {
  const std::size_t slash = text.find('/');
  const auto address = ParseIpv4(text.substr(0, slash));
  if (!address) return {};
  if (slash == std::string_view::npos) return {*address, kAddressBits, ""};
  const auto length = ParsePrefixLength(text.substr(slash + 1));
  if (!length) return {};
  if (const std::uint32_t network = *address & ~HostBits(*length); network != *address) {
    return {std::nullopt, 0,
            fmt::format("it has bits behind its prefix, the network is {}",
                        ShowNetwork(network, *length))};
  }
  return {*address, *length, ""};
}

std::string ShowNetwork(std::uint32_t network, std::uint8_t prefix_length) {
  return fmt::format("{}/{}", ShowIpv4(network), prefix_length);
}

AddressesOrWhy ParseAddressRange(std::string_view text) {
  const std::size_t dash = text.find('-');
  if (dash == std::string_view::npos) return OfNetwork(text);
  const auto first = ParseIpv4(text.substr(0, dash));
  const auto last = ParseIpv4(text.substr(dash + 1));
  if (!first || !last) return {};
  if (*first > *last) return {std::nullopt, "its first address is above its last"};
  return {{{*first, *last}}, ""};
}

std::string ShowAddressRange(const ExclusionSettings::Addresses& addresses) {
  const std::uint32_t differing = addresses.first ^ addresses.last;
  const auto length = static_cast<std::uint8_t>(std::countl_zero(differing));
  if (addresses.first == (addresses.last & ~HostBits(length)) &&
      addresses.last == (addresses.first | HostBits(length))) {
    return ShowNetwork(addresses.first, length);
  }
  return ShowIpv4(addresses.first) + "-" + ShowIpv4(addresses.last);
}

}  // namespace packetdb::host
