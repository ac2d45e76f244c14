// What packetdbd is started with.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

#include "host/config/configuration.h"

namespace packetdb::host {

// What is not given on the command line is as the configuration says.
struct DaemonOptions {
  std::optional<std::string> config;  // a file; none: the usual one, which may be missing
  bool check_config = false;          // only look whether the configuration is right
  bool serve_only = false;            // no events are taken in
  std::optional<std::string> directory;
  std::optional<std::string> socket;
  std::optional<mode_t> socket_mode;
  std::optional<std::string> metrics_socket;  // empty: none
  std::optional<int> max_connections;
  std::optional<int> idle_seconds;
  std::optional<int> max_memory_mib;
  std::optional<LogTarget> log_target;
  std::optional<int> log_level;
};

// Reads the command line. Returns false when help or the version was asked for and printed. Throws
// std::invalid_argument with one line that says what is wrong.
bool ParseOptions(int argc, char** argv, DaemonOptions* options);

// Puts what was given on the command line in the place of what the configuration says.
void Override(const DaemonOptions& options, Configuration* configuration);

}  // namespace packetdb::host
