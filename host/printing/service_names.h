// What ports are called: a file like /etc/services, read once.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace packetdb::host {

class ServiceNames {
 public:
  ServiceNames() = default;  // none
  // Of the text of such a file. Lines that are none are passed over; the first name of a port
  // counts.
  explicit ServiceNames(std::string_view text);

  // Of /etc/services; none where that cannot be read.
  static const ServiceNames& OfSystem();

  // Null for a port without a name.
  const std::string* Find(std::uint8_t protocol, std::uint16_t port) const;

 private:
  void AddLine(std::string_view line);

  std::unordered_map<std::uint32_t, std::string> names_;  // by protocol and port
};

}  // namespace packetdb::host
