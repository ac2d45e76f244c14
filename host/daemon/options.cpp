#include "host/daemon/options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <fmt/format.h>
#include <stdexcept>

namespace packetdb::host {

namespace {

mode_t ParseSocketMode(const std::string& text) {
  unsigned int mode = 0;
  const char* end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, mode, 8);
  if (parsed.ec != std::errc() || parsed.ptr != end || mode > 0777) {
    throw std::invalid_argument(
        fmt::format("'{}' is not a mode for the socket: give octal digits such as 0660", text));
  }
  return mode;
}

LogTarget ParseLogTarget(const std::string& text) {
  if (text == "stderr") {
    return LogTarget::kStderr;
  }
  if (text == "journal") {
    return LogTarget::kJournal;
  }
  if (text == "syslog") {
    return LogTarget::kSyslog;
  }
  throw std::invalid_argument(
      fmt::format("'{}' is not a log target: give stderr, journal or syslog", text));
}

void AddServing(CLI::App& app, DaemonOptions& options) {
  app.add_option("-d,--directory", options.directory, "where the journals are")
      ->required()
      ->type_name("DIR");
  app.add_option("-s,--socket", options.socket, "where to listen")->required()->type_name("PATH");
  app.add_option("--max-connections", options.max_connections, "served at a time (default: 64)")
      ->type_name("N")
      ->check(CLI::Range(1, 4096).description(""));
  app.add_option("--idle-timeout", options.idle_seconds,
                 "how long a client may be silent between two queries (default: 60)")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 86400).description(""));
  app.add_option("--max-memory", options.max_memory_mib,
                 "what one connection may use, 0 for no limit (default: 1024)")
      ->type_name("MIB")
      ->check(CLI::Range(0, 1 << 20).description(""));
}

void AddLog(CLI::App& app, LogOptions& log, std::string& target) {
  app.add_option("--log-target", target, "stderr, journal or syslog (default: stderr)")
      ->type_name("TARGET");
  app.add_option("--log-level", log.level, "0 silent to 5 traces (default: 2)")
      ->type_name("N")
      ->check(CLI::Range(kLowestLogLevel, kHighestLogLevel).description(""));
}

}  // namespace

bool ParseOptions(int argc, char** argv, DaemonOptions* options) {
  CLI::App app("packetdbd: serves journals of packet-filter events");
  app.name("packetdbd");
  app.set_version_flag("--version", PACKETDB_VERSION);
  app.footer(
      "SIGTERM, SIGINT and SIGHUP stop it; SIGUSR1 raises the log level by one, SIGUSR2 lowers "
      "it.");
  std::string socket_mode;
  std::string log_target;
  AddServing(app, *options);
  app.add_option("--socket-mode", socket_mode, "who may connect (default: 0660)")
      ->type_name("OCTAL");
  AddLog(app, options->log, log_target);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      app.exit(error);
      return false;
    }
    throw std::invalid_argument(fmt::format("{}; see packetdbd --help", error.what()));
  }
  if (!socket_mode.empty()) {
    options->socket_mode = ParseSocketMode(socket_mode);
  }
  if (!log_target.empty()) {
    options->log.target = ParseLogTarget(log_target);
  }
  return true;
}

}  // namespace packetdb::host
