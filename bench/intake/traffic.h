// Events as a firewall of some size gives them: many identities, fewer rules, a few interfaces.
#pragma once

#include <string>
#include <vector>

#include "host/config/configuration.h"
#include "host/sources/live_source.h"

namespace packetdb::bench {

struct Traffic {
  // `identities` events that differ, of now; half of them under rules of the configuration.
  explicit Traffic(int identities);

  std::vector<std::string> prefixes;
  std::vector<host::LiveEvent> events;  // their prefixes are views of those above
};

// Rules with and without wildcards, two exclusions that never hold, 100,000 networks of nodes, and
// a journal that merges for a day.
host::Configuration ConfigurationOf(const std::string& directory);

}  // namespace packetdb::bench
