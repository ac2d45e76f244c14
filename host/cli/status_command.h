// `packetdb status` and `packetdb journals`: what a daemon tells of itself.
#pragma once

#include <string>

#include "host/cli/exit_code.h"

namespace packetdb::host {

struct StatusOptions {
  std::string socket;
  std::string output = "table";  // or "json"
  int timeout_seconds = 60;      // for the answer to begin
};

// Tables, or JSON, on stdout; errors on stderr, a line each. Throw UsageError.
ExitCode RunStatus(const StatusOptions& options);
ExitCode RunJournals(const StatusOptions& options);

}  // namespace packetdb::host
