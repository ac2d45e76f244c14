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
  CLI::App* check = AddExaminer(app, "check", "Look for damage in a journal file", options.path,
                                options.output, "text, or json with one object");
  CLI::Option* rescue =
      check
          ->add_option("--rescue", options.rescue.to,
                       "put the records that are whole into a new journal instead")
          ->type_name("OUT")
          ->check(RefuseEmpty);
  const auto add = [check, rescue](const char* name, std::string& value, const char* text) {
    check->add_option(name, value, text)->type_name("NUMBER")->check(RefuseEmpty)->needs(rescue);
  };
  add("--record-size", options.rescue.record_size,
      "its records have so many bytes (default: find out)");
  add("--seed", options.rescue.seed, "its checksums start from this (default: find out)");
  add("--near", options.rescue.near, "its records have about this number (default: find out)");
  return check;
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
