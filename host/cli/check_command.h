// `packetdb check`: verifies a journal file.
#pragma once

#include <cstddef>
#include <string>

#include "host/cli/exit_code.h"

namespace packetdb::host {

struct CheckOptions {
  std::string path;
  std::string output = "text";  // or "json"
};

// How many findings are listed; further ones are counted only.
inline constexpr std::size_t kMostFindings = 1000;

// Findings and a summary on stdout. kExitDamaged when something is damaged, kExitInUse when nothing
// is but a writer has the file open, kExitOk otherwise; a file that is no journal or cannot be read
// is a complaint and nothing on stdout. Throws UsageError.
ExitCode RunCheck(const CheckOptions& options);

}  // namespace packetdb::host
