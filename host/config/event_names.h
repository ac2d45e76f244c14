// The names of event codes that hold where the configuration gives no others.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>

namespace packetdb::host {

struct EventName {
  std::string_view name;
  std::uint32_t code;
};

// By code. Each lies in one of the groups of codes that queries know.
std::span<const EventName> DefaultEventNames();

using NameTable = std::map<std::string, std::uint32_t>;

// The default names, but where `given` has another name for a code, or another code for a name,
// only that.
NameTable EventNamesWith(const NameTable& given);

}  // namespace packetdb::host
