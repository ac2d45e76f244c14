// One connection, in a process of its own.
#pragma once

#include "host/bus/connection.h"
#include "host/bus/serve.h"
#include "host/config/configuration.h"
#include "host/status/status_page.h"

namespace packetdb::host {

// Serves the connection to its end, and logs why it ended. The library keeps static buffers and
// takes no locks, so connections are served by processes: a slow client delays nobody, and a query
// that goes wrong is one failed query.
void ServeClient(Connection& connection, const Configuration& configuration,
                 const StatusPage& page);

// The part of it that changes nothing of the process: all commands that clients may use, with the
// limits on what a request may have. An answer has at most `row_limit` rows; 0: no limit. Throws
// std::exception.
ServeResult ServeCommands(Connection& connection, const Configuration& configuration,
                          const StatusPage& page, unsigned int row_limit,
                          const CommandObserver& observer);

}  // namespace packetdb::host
