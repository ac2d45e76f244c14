// Rules that log every packet of connections, where the first would do.
#pragma once

#include <vector>

#include "host/rules/ruleset.h"

namespace packetdb::host {

struct EstablishedLog {
  const FilterRule* rule;  // of the ruleset
  bool is_said;            // its own conditions name established connections
};

// Those for which it is certain: from a base chain that knows the state of connections, established
// traffic gets to the rule, the rule logs all of what it gets of some connections, and those go on.
// A rule is told once.
std::vector<EstablishedLog> FindEstablishedLogs(const Ruleset& ruleset);

}  // namespace packetdb::host
