// Addresses and ports in options, as a query has them.
#pragma once

#include <cstdint>
#include <string_view>

namespace packetdb::host {

// A criterion of a query: `from` to `to`, both included; `to` 0 means `from` alone.
template <class T>
struct Range {
  T from = 0;
  T to = 0;

  bool operator==(const Range&) const = default;
};

// "10.0.0.7", "10.0.0.0/8" or "10.0.0.1-10.0.0.9"; host byte order. Throws UsageError, also for
// what a query cannot ask: it reads address 0.0.0.0 as any.
Range<std::uint32_t> ParseAddresses(std::string_view text);

// "443" or "8000-8100". Throws UsageError, also for port 0 alone, which a query reads as any.
Range<std::uint16_t> ParsePorts(std::string_view text);

}  // namespace packetdb::host
