// The options of an import that need taking apart.
#pragma once

#include <string>
#include <vector>

#include "host/sources/interface_names.h"
#include "host/sources/prefix.h"

namespace packetdb::host {

// All throw UsageError.

void CheckGroupName(const std::string& name);

// From "7=wan0" each.
InterfaceNames ParseInterfaceNames(const std::string& default_name,
                                   const std::vector<std::string>& texts);

// From "PREFIX=drop" or "PREFIX=accept:44" each; the last '=' counts. The verdict is accept, drop,
// reject or log.
RuleTable ParseRules(const std::vector<std::string>& texts);

}  // namespace packetdb::host
