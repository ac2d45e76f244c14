// Names of fields as people give them.
#pragma once

#include <cstddef>
#include <fmt/format.h>
#include <string>
#include <vector>

#include "host/config/spelling.h"
#include "host/printing/options.h"

namespace packetdb::host {

// Where a name stands among names. Throws PrintError, with the nearest or all of them, for another.
inline std::size_t PlaceOfName(const std::string& name, const std::vector<std::string>& names) {
  for (std::size_t place = 0; place < names.size(); ++place) {
    if (names[place] == name) return place;
  }
  const auto nearest = NearestWord(name, names);
  throw PrintError(
      nearest ? fmt::format("there is no field '{}': did you mean {}?", name, *nearest)
              : fmt::format("there is no field '{}': fields are {}", name, fmt::join(names, ", ")));
}

}  // namespace packetdb::host
