// `packetdb dump`: prints the records of a journal file as they are stored.
#pragma once

#include <string>

#include "host/cli/exit_code.h"

namespace packetdb::host {

struct DumpOptions {
  std::string path;
  std::string output = "text";  // or "json"
  std::string from;             // record numbers, both included; empty: from the oldest,
  std::string to;               // to the newest
  bool hex = false;             // the bytes as well
};

// Records on stdout, oldest first. A record that a writer overwrote meanwhile is said to be gone
// and is no failure, nor is one that a power cut took; kExitDamaged when one is damaged. Throws
// UsageError.
ExitCode RunDump(const DumpOptions& options);

}  // namespace packetdb::host
