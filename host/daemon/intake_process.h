// The process that journals events.
#pragma once

#include "host/config/configuration.h"
#include "host/daemon/child_process.h"
#include "host/daemon/intake_loop.h"
#include "host/daemon/live_sources.h"
#include "host/daemon/signals.h"
#include "host/status/status_page.h"

namespace packetdb::host {

// Works in a forked child until it is told to end, and returns its exit status. What keeps it from
// starting it throws.
int RunIntake(const Configuration& configuration, const LiveSources& sources, Signals& signals,
              StatusPage& page, const IntakeLoopOptions& options, StartReport& report);

}  // namespace packetdb::host
