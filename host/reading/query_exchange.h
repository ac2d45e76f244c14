// A journal query on a connection, row by row.
#pragma once

#include <string_view>

#include "host/bus/connection.h"
#include "host/reading/row_source.h"

namespace packetdb::host {

// Sends the query and hands over the rows of its answer as they arrive, newest first, with
// `interface` as theirs. What came of it is told apart by asking the daemon. When the sink has
// enough before the end, the connection is in the middle of an answer and of no further use.
ReadResult ExchangeQuery(Connection& connection, Query query, std::string_view interface,
                         const RowSink& sink);

}  // namespace packetdb::host
