// From a tree back to the text of an expression.
#pragma once

#include <string>

#include "host/expression/tree.h"
#include "host/names/names.h"

namespace packetdb::host::expression {

// Parsed again with the same names, it gives the same tree. Everything is the empty text.
std::string Print(const Node& node, const Names& names);

}  // namespace packetdb::host::expression
