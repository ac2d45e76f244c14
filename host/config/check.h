// What `packetdbd --check-config` says.
#pragma once

#include <string>
#include <vector>

#include "host/config/configuration.h"
#include "host/config/load.h"

namespace packetdb::host {

struct ConfigurationCheck {
  bool is_right = false;
  // For people: every problem, or one line that sums up what is configured. Control bytes in the
  // names of files are escaped.
  std::vector<std::string> lines;
};

ConfigurationCheck CheckConfiguration(const ConfigurationPlaces& places,
                                      const Surroundings& surroundings = SystemSurroundings());

// "2 log groups, 1 journal, 3 rules": what there is of, in one line.
std::string SumUp(const Configuration& configuration);

}  // namespace packetdb::host
