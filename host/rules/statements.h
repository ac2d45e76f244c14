// The statements of a rule.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "host/rules/ruleset.h"

namespace packetdb::host {

// Fills a rule, which has its place already, from the "expr" of libnftables-json(5). Throws
// RulesetError.
void ReadStatements(FilterRule& rule, const nlohmann::json& statements);

}  // namespace packetdb::host
