// What a query selects, written down a second time: no search, no shortcuts, no code of the
// library's.
#pragma once

#include <string>
#include <vector>

#include "packetdb/query.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {

// Whether a query of these criteria selects the event, its name and its limit aside.
bool Selects(const Query& query, const CDrvErrorItemV4& event);

// The answer to a query over a journal of these events in `group`: each record as Served() has it,
// newest first.
std::vector<std::string> NaiveAnswer(const Query& query, const std::string& group,
                                     const std::vector<SeenEvent>& journal);

}  // namespace packetdb::host::test
