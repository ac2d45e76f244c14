#include "host/sources/interface_names.h"

#include <algorithm>

namespace packetdb::host {
namespace {

std::string Bounded(const std::string& name) {
  return name.substr(0, std::min(name.find('\0'), kMaxInterfaceName));
}

}  // namespace

std::string InterfaceNames::Name(std::uint32_t index) const {
  if (index == 0) return Bounded(default_name);
  const auto entry = by_index.find(index);
  std::string name = entry == by_index.end() ? std::string() : Bounded(entry->second);
  return name.empty() ? "if" + std::to_string(index) : name;
}

}  // namespace packetdb::host
