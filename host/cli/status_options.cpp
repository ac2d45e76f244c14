#include "host/cli/status_options.h"

#include <CLI/CLI.hpp>

namespace packetdb::host {

namespace {

CLI::App* AddTeller(CLI::App& app, const char* name, const char* purpose, StatusOptions& options,
                    const char* output) {
  CLI::App* command = app.add_subcommand(name, purpose);
  command->add_option("-s,--socket", options.socket, "The daemon's socket")->type_name("PATH");
  command->add_option("-o,--output", options.output, output)->type_name("FORMAT");
  command->add_option("--timeout", options.timeout_seconds, "wait this long for the answer")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 86400).description(""));
  return command;
}

}  // namespace

CLI::App* AddStatus(CLI::App& app, StatusOptions& options) {
  return AddTeller(app, "status", "Tell how a running packetdbd is doing", options,
                   "table, or json with one object");
}

CLI::App* AddJournals(CLI::App& app, StatusOptions& options) {
  return AddTeller(app, "journals", "List the journals of a running packetdbd and their interfaces",
                   options, "table, or json with one object per line");
}

}  // namespace packetdb::host
