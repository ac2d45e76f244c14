// `packetdb import`: journals captures.
#pragma once

#include <string>
#include <vector>

#include "host/cli/exit_code.h"
#include "host/journals/group_writer.h"

namespace packetdb::host {

struct ImportOptions {
  std::vector<std::string> captures;  // paths, "-" for standard input
  GroupOptions group;
  std::string interface = "capture";         // for captures that do not tell it
  std::vector<std::string> interface_names;  // INDEX=NAME
  std::vector<std::string> rules;            // PREFIX=VERDICT[:CODE]
};

// Journals the events of all captures in order of time, and sums up on stdout. A capture that
// cannot be opened is an error before anything is journaled; one that is damaged further on gives
// what lies before the damage. Throws UsageError and JournalError.
ExitCode RunImport(const ImportOptions& options);

}  // namespace packetdb::host
