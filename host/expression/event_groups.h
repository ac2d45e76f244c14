// The groups of event codes that queries know by negative numbers.
#pragma once

#include "host/expression/interval_set.h"

namespace packetdb::host::expression {

inline constexpr int kEveryCode = -1;
inline constexpr int kLowestGroup = -15;

// The codes of a group, as the library has them: empty for a number that is no group. Group -1 is
// every code, as it is where a query begins with it.
IntervalSet CodesOfGroup(int group);

}  // namespace packetdb::host::expression
