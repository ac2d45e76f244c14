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

void AddRunning(CLI::App& app, DaemonOptions& options) {
  app.add_option("-c,--config", options.config,
                 "what to do (default: /etc/packetdb/packetdb.toml, if it is there)")
      ->type_name("FILE");
  app.add_flag("--check-config", options.check_config,
               "look whether the configuration is right, and end");
  app.add_flag("--serve-only", options.serve_only, "answer queries, take no events in");
}

void AddServing(CLI::App& app, DaemonOptions& options) {
  app.add_option("-d,--directory", options.directory, "where the journals are")->type_name("DIR");
  app.add_option("-s,--socket", options.socket, "where to listen for queries")->type_name("PATH");
  app.add_option("--metrics-socket", options.metrics_socket,
                 "where to listen for collectors of metrics; empty: nowhere")
      ->type_name("PATH");
  app.add_option("--max-connections", options.max_connections, "served at a time")
      ->type_name("N")
      ->check(CLI::Range(1, 4096).description(""));
  app.add_option("--idle-timeout", options.idle_seconds,
                 "how long a client may be silent between two queries")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 86400).description(""));
  app.add_option("--max-memory", options.max_memory_mib,
                 "what one connection may use, 0 for no limit")
      ->type_name("MIB")
      ->check(CLI::Range(0, 1 << 20).description(""));
}

void AddLog(CLI::App& app, DaemonOptions& options, std::string& target) {
  app.add_option("--log-target", target, "stderr, journal or syslog")->type_name("TARGET");
  app.add_option("--log-level", options.log_level, "0 silent to 5 traces")
      ->type_name("N")
      ->check(CLI::Range(kLowestLogLevel, kHighestLogLevel).description(""));
}

template <class Value>
void Put(const std::optional<Value>& given, Value* place) {
  if (given) {
    *place = *given;
  }
}

}  // namespace

bool ParseOptions(int argc, char** argv, DaemonOptions* options) {
  CLI::App app("packetdbd: journals events of the packet filter and answers queries");
  app.name("packetdbd");
  app.set_version_flag("--version", PACKETDB_VERSION);
  app.footer(
      "What is not given here is as the configuration says. SIGTERM and SIGINT stop it, SIGHUP "
      "makes it read the configuration again; SIGUSR1 raises the log level by one, SIGUSR2 lowers "
      "it.");
  std::string socket_mode;
  std::string log_target;
  AddRunning(app, *options);
  AddServing(app, *options);
  app.add_option("--socket-mode", socket_mode, "who may connect")->type_name("OCTAL");
  AddLog(app, *options, log_target);
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
    options->log_target = ParseLogTarget(log_target);
  }
  return true;
}

void Override(const DaemonOptions& options, Configuration* configuration) {
  Put(options.directory, &configuration->directory);
  Put(options.socket, &configuration->socket.path);
  Put(options.socket_mode, &configuration->socket.mode);
  Put(options.metrics_socket, &configuration->metrics.socket);
  Put(options.max_connections, &configuration->limits.connections);
  Put(options.idle_seconds, &configuration->limits.idle_seconds);
  Put(options.max_memory_mib, &configuration->limits.memory_mib);
  Put(options.log_target, &configuration->log.target);
  Put(options.log_level, &configuration->log.level);
  configuration->log.program = "packetdbd";
  if (options.serve_only) {
    configuration->log_groups.clear();
    configuration->captures.clear();
  }
}

}  // namespace packetdb::host
