// `packetdb convert`: brings one journal file to today's format.
#pragma once

#include <string>

#include "host/cli/exit_code.h"

namespace packetdb::host {

struct ConvertOptions {
  std::string file;
  bool dry_run = false;   // say what would happen, change nothing
  bool keep_old = false;  // keep the old file as FILE.pre-v4
};

// Converts the journal, or completes a conversion that was interrupted, and says on stdout in one
// line what it is now. What cannot be converted is one line on stderr.
ExitCode RunConvert(const ConvertOptions& options);

}  // namespace packetdb::host
