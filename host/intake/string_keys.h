// Maps by name that are asked with a view of one.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace packetdb::host {

struct StringHash {
  using is_transparent = void;  // the name that unordered_map looks for
  std::size_t operator()(std::string_view text) const {
    return std::hash<std::string_view>()(text);
  }
};

template <class Value>
using ByName = std::unordered_map<std::string, Value, StringHash, std::equal_to<>>;

}  // namespace packetdb::host
