// packetdb: the command that administrators use.
#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <fmt/format.h>
#include <string>
#include <string_view>

#include "host/cli/import_command.h"
#include "host/cli/query_command.h"
#include "host/cli/report.h"
#include "host/cli/usage_error.h"
#include "host/log/log.h"
#include "host/log/standard_streams.h"

namespace packetdb::host {
namespace {

constexpr char kDefaultGroup[] = "all";

CLI::App* AddQuery(CLI::App& app, QueryOptions& options) {
  CLI::App* query = app.add_subcommand("query", "Ask a running packetdbd");
  query->add_option("name", options.criteria.name, "Group or interface")
      ->required()
      ->type_name("NAME");
  query->add_option("-s,--socket", options.socket, "The daemon's socket")
      ->required()
      ->type_name("PATH");
  for (const CriterionOption& row : CriterionOptions()) {
    query->add_option(row.names, options.criteria.*row.text, row.help)->type_name(row.value);
  }
  query->add_flag("-b,--both-directions", options.criteria.both_directions,
                  "source and destination may also match the other way round");
  query->add_option("-o,--output", options.output, "table, or json with one object per line")
      ->type_name("FORMAT");
  query->add_option("--timeout", options.timeout_seconds, "wait this long for the answer")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 86400).description(""));
  return query;
}

// An option whose value is empty was meant to say something: "$HOST" of a script, say.
void RefuseEmptyValues(const CLI::App& query, const Criteria& criteria) {
  for (const CriterionOption& row : CriterionOptions()) {
    const std::string_view names(row.names);
    const std::string name(names.substr(names.find("--")));
    if (query.get_option(name)->count() != 0 && (criteria.*row.text).empty()) {
      throw UsageError(fmt::format("{} was given an empty value; leave it out, or say what", name));
    }
  }
}

CLI::App* AddImport(CLI::App& app, ImportOptions& options) {
  options.group.group = kDefaultGroup;
  CLI::App* import = app.add_subcommand("import", "Journal pcap and pcapng captures");
  import->add_option("captures", options.captures, "Capture files, - for standard input")
      ->required()
      ->type_name("CAPTURE...");
  import->add_option("-d,--directory", options.group.directory, "Where the journals are")
      ->required()
      ->type_name("DIR");
  import->add_option("-g,--group", options.group.group, "Group to journal in (default: all)")
      ->type_name("NAME");
  import
      ->add_option("--capacity", options.group.capacity,
                   "records that a new journal keeps (default: 1000000)")
      ->type_name("N")
      ->check(CLI::Range(1, 0x7FFFFFFF).description(""));
  import
      ->add_option("--merge-window", options.group.window_seconds,
                   "how long a new journal merges repeats of an event (default: 60)")
      ->type_name("SECONDS")
      ->check(CLI::Range(0L, 0x7FFFFFFFL).description(""));
  import
      ->add_option("-i,--interface", options.interface,
                   "interface of captures that do not tell it (default: capture)")
      ->type_name("NAME");
  import
      ->add_option("--interface-name", options.interface_names,
                   "name of an interface that a capture tells by its index")
      ->type_name("INDEX=NAME")
      ->allow_extra_args(false);
  import
      ->add_option("--rule", options.rules,
                   "what a log prefix means: accept, drop, reject or log, and an event code")
      ->type_name("PREFIX=VERDICT[:CODE]")
      ->allow_extra_args(false);
  return import;
}

ExitCode Run(int argc, char** argv) {
  CLI::App app("packetdb: a flight recorder for packet-filter events");
  app.name("packetdb");
  app.set_version_flag("--version", PACKETDB_VERSION);
  app.require_subcommand(0, 1);
  int log_level = kLowestLogLevel;
  app.add_option("--log-level", log_level, "what the library reports on stderr, 0 to 5")
      ->type_name("N")
      ->check(CLI::Range(kLowestLogLevel, kHighestLogLevel).description(""));
  QueryOptions query_options;
  ImportOptions import_options;
  const CLI::App* query = AddQuery(app, query_options);
  AddImport(app, import_options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      app.exit(error);  // help or version, on stdout
      return kExitOk;
    }
    throw UsageError(fmt::format("{}; see packetdb --help", error.what()));
  }
  if (app.get_subcommands().empty()) {
    throw UsageError("no command given: give query or import; see packetdb --help");
  }
  RefuseEmptyValues(*query, query_options.criteria);
  ConfigureLog({LogTarget::kStderr, log_level, "packetdb"});
  return query->parsed() ? RunQuery(query_options) : RunImport(import_options);
}

}  // namespace
}  // namespace packetdb::host

int main(int argc, char** argv) {
  using namespace packetdb::host;
  OpenStandardStreams();
  // However we were started: a reader that has seen enough ends us quietly.
  std::signal(SIGPIPE, SIG_DFL);
  try {
    return Run(argc, argv);
  } catch (const UsageError& error) {
    Complain(error.what());
    return kExitUsage;
  } catch (const std::exception& error) {
    Complain(error.what());
    return kExitFailed;
  }
}
