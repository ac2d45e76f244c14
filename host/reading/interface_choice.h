// Which interfaces of a journal are asked for.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "host/intake/glob.h"

namespace packetdb::host {

struct InterfaceChoice {
  bool must_tell = false;                  // rows are to tell their interface
  std::vector<std::string> patterns = {};  // names with * and ?; one has to fit. None: every row

  // Whether it matters which interface a row has.
  bool Matters() const { return must_tell || !patterns.empty(); }
  // Patterns choose among known names: a row whose interface nobody knows fits none.
  bool Takes(std::string_view interface) const {
    const auto fits = [interface](const std::string& p) { return GlobMatches(p, interface); };
    return patterns.empty() ||
           (!interface.empty() && std::any_of(patterns.begin(), patterns.end(), fits));
  }
};

}  // namespace packetdb::host
