// What a query should select from a journal, the plain way.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "packetdb/query.h"
#include "tests/support/events.h"

namespace packetdb::test {

using Records = std::vector<Event>;

// Positions in a journal, newest first.
using Positions = std::vector<std::uint32_t>;

// Whether a query asks for the addresses and ports of a record.
bool ModelEndpoints(const Query& query, const CDrvErrorItemV4& record);

// What a query selects from a journal with this merge window: of its times, addresses, ports and
// limit only.
Positions ModelSelection(const Records& journal, const Query& query, std::int64_t window);

// The same criteria, and the records, as text.
std::string Describe(const Query& query);
std::string Describe(const Records& journal);

}  // namespace packetdb::test
