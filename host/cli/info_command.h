// `packetdb info`: what a journal file is and what it holds.
#pragma once

#include <string>

#include "host/cli/exit_code.h"

namespace packetdb::host {

struct InfoOptions {
  std::string path;
  std::string output = "text";  // or "json"
};

// A line for each fact, or one object, on stdout. Throws UsageError.
ExitCode RunInfo(const InfoOptions& options);

}  // namespace packetdb::host
