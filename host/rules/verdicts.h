// What a rule does with the packets that it fits.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "host/rules/ruleset.h"

namespace packetdb::host {

// Reads a statement that ends a rule, with the rule's conditions as they are so far; false when
// this kind of statement does not.
bool ReadVerdict(FilterRule& rule, const std::string& kind, const nlohmann::json& value);

}  // namespace packetdb::host
