// What the numbers in records are called, as rows of objects of JSON. docs/bus_protocol.md has
// their keys.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/config/configuration.h"
#include "host/intake/rule_dictionary.h"

namespace packetdb::host {

// A row holds objects up to this many bytes: tens of thousands of rows, all as wide as the widest,
// would cost more than what they say.
inline constexpr std::size_t kNamesRowBytes = 16384;

// Of the dictionary's lines, so many are told; where there are more, the newest of each number.
inline constexpr std::size_t kMostToldRules = 65536;

// Objects of the kinds event, flag, node and rule, each ended by a line feed; `problems` are told
// as such.
std::vector<std::string> NamesRows(const Configuration& configuration, const RuleDictionary& rules,
                                   const std::vector<std::string>& problems);

}  // namespace packetdb::host
