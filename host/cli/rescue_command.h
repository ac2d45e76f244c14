// `packetdb check --rescue`: makes a new journal of what is whole in a damaged one.
#pragma once

#include "host/cli/check_command.h"
#include "host/cli/exit_code.h"

namespace packetdb::host {

// What was found and written on stdout. kExitOk when at least one record was saved, kExitFailed
// with a complaint and no new file when none was, when something is at the new path, or when it
// cannot be written. The damaged journal is only read. Throws UsageError.
ExitCode RunRescue(const CheckOptions& options);

}  // namespace packetdb::host
