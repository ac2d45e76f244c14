// What the conditions of a rule leave, for packets of established connections.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "host/rules/ruleset.h"

namespace packetdb::host {

// Narrows `scope` by a "match" of libnftables-json(5).
void AddMatch(Scope& scope, const nlohmann::json& match);

// Narrows `scope` by a condition that is not judged.
void AddUnknownCondition(Scope& scope);

// Whether an expression is the state of a connection.
bool IsConnectionState(const nlohmann::json& expression);

// Whether every packet of a connection has the same value there, as with addresses and ports.
bool IsOfConnection(const nlohmann::json& expression);

// Whether a value, a list or an anonymous set has this text among its elements.
bool HasElement(const nlohmann::json& values, const char* text);

}  // namespace packetdb::host
