// One connection, in a process of its own.
#pragma once

#include "host/bus/connection.h"
#include "host/daemon/options.h"

namespace packetdb::host {

// Opens the journals, serves the connection to its end, and logs why it ended. The library keeps
// static buffers and takes no locks, so connections are served by processes: a slow client delays
// nobody, and a query that goes wrong is one failed query.
//
// Journals are opened for each connection, so that one which appeared since is served too.
void ServeClient(Connection& connection, const DaemonOptions& options);

}  // namespace packetdb::host
