// `packetdb query`: asks a daemon, prints the answer.
#pragma once

#include <string>

#include "host/cli/criteria.h"
#include "host/cli/exit_code.h"

namespace packetdb::host {

struct QueryOptions {
  Criteria criteria;
  std::string socket;
  std::string output = "table";  // or "json"
  int timeout_seconds = 60;      // for the answer to begin
};

// Rows on stdout, notes and errors on stderr, a line each. Throws UsageError.
ExitCode RunQuery(const QueryOptions& options);

}  // namespace packetdb::host
