#include "host/printing/service_names.h"

#include <charconv>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

#include "host/config/protocols.h"

namespace packetdb::host {
namespace {

std::uint32_t KeyOf(std::uint8_t protocol, std::uint16_t port) {
  return std::uint32_t{protocol} << 16 | port;
}

std::optional<std::uint16_t> PortIn(std::string_view digits) {
  std::uint16_t port = 0;
  const char* const end = digits.data() + digits.size();
  const auto read = std::from_chars(digits.data(), end, port);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return port;
}

}  // namespace

ServiceNames::ServiceNames(std::string_view text) {
  while (!text.empty()) {
    const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
    AddLine(text.substr(0, size));
    text.remove_prefix(size);
  }
}

// "https  443/tcp  # with TLS"
void ServiceNames::AddLine(std::string_view line) {
  std::istringstream words(std::string(line.substr(0, line.find('#'))));
  std::string name;
  std::string where;
  if (!(words >> name >> where)) return;
  const std::size_t slash = where.find('/');
  if (slash == std::string::npos) return;
  const auto protocol = ProtocolByName(where.substr(slash + 1));
  const auto port = PortIn(std::string_view(where).substr(0, slash));
  if (protocol && port) names_.try_emplace(KeyOf(*protocol, *port), name);
}

const ServiceNames& ServiceNames::OfSystem() {
  static const ServiceNames names = [] {
    std::ifstream file("/etc/services");
    return ServiceNames(std::string(std::istreambuf_iterator<char>(file), {}));
  }();
  return names;
}

const std::string* ServiceNames::Find(std::uint8_t protocol, std::uint16_t port) const {
  const auto found = names_.find(KeyOf(protocol, port));
  return found == names_.end() ? nullptr : &found->second;
}

}  // namespace packetdb::host
