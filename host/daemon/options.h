// What packetdbd is started with.
#pragma once

#include <string>
#include <sys/types.h>

#include "host/log/log.h"

namespace packetdb::host {

struct DaemonOptions {
  std::string directory;
  std::string socket;
  mode_t socket_mode = 0660;
  int max_connections = 64;   // served at a time; more of them wait
  int idle_seconds = 60;      // a client may think this long between two queries
  int max_memory_mib = 1024;  // of one connection's process; 0 no limit
  LogOptions log{LogTarget::kStderr, kDefaultLogLevel, "packetdbd"};
};

// Reads the command line. Returns false when help or the version was asked for and printed. Throws
// std::invalid_argument with one line that says what is wrong.
bool ParseOptions(int argc, char** argv, DaemonOptions* options);

}  // namespace packetdb::host
