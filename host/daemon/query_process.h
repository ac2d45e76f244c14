// The process that answers queries.
#pragma once

#include <chrono>

#include "host/config/configuration.h"
#include "host/daemon/child_process.h"
#include "host/daemon/server_sockets.h"
#include "host/daemon/signals.h"
#include "host/status/status_page.h"

namespace packetdb::host {

// Works in a forked child until it is told to end, and returns its exit status. What keeps it from
// starting it throws.
int RunQueries(const Configuration& configuration, const ServerSockets& sockets, Signals& signals,
               StatusPage& page, std::chrono::milliseconds beat, StartReport& report);

}  // namespace packetdb::host
