#include "host/cli/examine_options.h"

#include <CLI/CLI.hpp>
#include <string>

namespace packetdb::host {

namespace {

// What the three have in common.
CLI::App* AddExaminer(CLI::App& app, const char* name, const char* purpose, std::string& path,
                      std::string& output, const char* json) {
  CLI::App* command = app.add_subcommand(name, purpose);
  command->add_option("file", path, "A journal file, which may be in use")
      ->required()
      ->type_name("FILE");
  command->add_option("-o,--output", output, json)->type_name("FORMAT");
  return command;
}

// An empty value would pick all records, which is not what the variable of a script that was never
// set asks for.
std::string RefuseEmpty(const std::string& value) {
  return value.empty() ? "was given an empty value; leave it out, or say which" : "";
}

}  // namespace

CLI::App* AddInfo(CLI::App& app, InfoOptions& options) {
  return AddExaminer(app, "info", "Tell what a journal file holds", options.path, options.output,
                     "text, or json with one object");
}

CLI::App* AddCheck(CLI::App& app, CheckOptions& options) {
  return AddExaminer(app, "check", "Look for damage in a journal file", options.path,
                     options.output, "text, or json with one object");
}

CLI::App* AddDump(CLI::App& app, DumpOptions& options) {
  CLI::App* dump =
      AddExaminer(app, "dump", "Print the records of a journal file as stored", options.path,
                  options.output, "text, or json with one object per line");
  dump->add_option("--from", options.from, "from this record on (default: the oldest)")
      ->type_name("NUMBER")
      ->check(RefuseEmpty);
  dump->add_option("--to", options.to, "up to this record (default: the newest)")
      ->type_name("NUMBER")
      ->check(RefuseEmpty);
  dump->add_flag("--hex", options.hex, "print each record's bytes as well");
  return dump;
}

}  // namespace packetdb::host
