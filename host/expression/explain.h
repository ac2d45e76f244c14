// Who tests what, for people.
#pragma once

#include <string>

#include "host/expression/split.h"
#include "host/names/names.h"

namespace packetdb::host::expression {

// A line each for the daemon, for the client, and for interfaces where the expression asks for
// some. What stands behind the first word is an expression, or a sentence in parentheses.
std::string Explain(const Division& division, const Names& names);

}  // namespace packetdb::host::expression
