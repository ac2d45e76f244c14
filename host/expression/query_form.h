// Between bounds and the criteria of a query, which has its own ways to say them.
#pragma once

#include <optional>

#include "host/expression/bounds.h"
#include "host/expression/tree.h"
#include "packetdb/query.h"

namespace packetdb::host::expression {

// The narrowest criteria that let all records within the bounds pass; times let all pass.
Query CriteriaOf(const Bounds& bounds);

// The records that `query`, whose direction is 0, lets pass; exact.
Bounds BoundsOf(const Query& query);

// One end is `first`, and the other `second`, in a query whose direction is 1.
void AskBothWays(Field field, const Interval& first, const std::optional<Interval>& second,
                 Query& query);
// Whether the criteria of a query can say that a value of the field is in the interval, exactly.
bool CanAsk(Field field, const Interval& interval);

// What the criteria say, as an expression; times, journal and limit are none of it.
Node ExpressionOf(const Query& query);

}  // namespace packetdb::host::expression
