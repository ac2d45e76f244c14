// How two lists of tables differ.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/config/changes.h"

namespace packetdb::host {

// The keys of an element that are set, with their values as TOML.
using ShownElement = std::vector<std::pair<std::string, std::string>>;

struct ComparedList {
  std::string title;     // "[[journal]]"
  std::string identity;  // the key by which an element is known again
  Effect effect;
};

// Says of each element whether it is new, gone or has other values, and of the others together
// whether they stand in another order. Many changes of one list are summed up in a line.
void CompareLists(const ComparedList& list, const std::vector<ShownElement>& before,
                  const std::vector<ShownElement>& after,
                  std::vector<ConfigurationChange>& changes);

// As many changes of a list are told one by one.
inline constexpr std::size_t kMostChangesTold = 20;

}  // namespace packetdb::host
