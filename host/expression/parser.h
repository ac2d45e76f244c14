// From the text of an expression to its tree.
#pragma once

#include <string_view>

#include "host/expression/tree.h"
#include "host/names/names.h"

namespace packetdb::host::expression {

// How deep parentheses and `not` may go: what walks a tree does so by recursion.
inline constexpr int kDeepest = 200;

// An empty expression matches everything. Names are looked up now: the tree holds their numbers.
// Throws ExpressionError.
Node Parse(std::string_view expression, const Names& names);

}  // namespace packetdb::host::expression
