// `packetdb query`: asks a daemon, prints the answer.
#pragma once

#include <string>

#include "host/cli/criteria.h"
#include "host/cli/exit_code.h"

namespace packetdb::host {

enum class OutputFormat { kTable, kJson };

struct QueryOptions {
  Criteria criteria;
  std::string socket;
  OutputFormat output = OutputFormat::kTable;
  int timeout_seconds = 60;  // for the answer to begin
};

// Rows on stdout, notes and errors on stderr, a line each. Throws UsageError.
ExitCode RunQuery(const QueryOptions& options);

}  // namespace packetdb::host
