// packetdb: the command that administrators use.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <functional>
#include <vector>

#include "host/cli/convert_options.h"
#include "host/cli/examine_options.h"
#include "host/cli/import_options.h"
#include "host/cli/query_options.h"
#include "host/cli/question_options.h"
#include "host/cli/report.h"
#include "host/cli/rules_options.h"
#include "host/cli/status_options.h"
#include "host/cli/summary_options.h"
#include "host/cli/usage_error.h"
#include "host/log/log.h"
#include "host/log/standard_streams.h"

namespace packetdb::host {
namespace {

struct Command {
  const CLI::App* app;
  std::function<ExitCode()> run;
};

struct Options {
  QueryOptions query;
  SummaryOptions top;
  SummaryOptions group_by;
  SummaryOptions histogram;
  SummaryOptions blocked;
  ImportOptions import;
  ConvertOptions convert;
  InfoOptions info;
  CheckOptions check;
  DumpOptions dump;
  StatusOptions status;
  StatusOptions journals;
  RulesOptions rules;
};

using AddSummaryCommand = CLI::App* (*)(CLI::App& app, SummaryOptions& options);

void AddSummaries(CLI::App& app, Options& options, std::vector<Command>& commands) {
  const auto add = [&](Summary summary, AddSummaryCommand command, SummaryOptions& own) {
    const auto* const added = command(app, own);
    commands.push_back({added, [added, summary, &own] {
                          RefuseEmptyValues(*added, own.question);
                          return RunSummary(summary, own);
                        }});
  };
  add(Summary::kTop, AddTop, options.top);
  add(Summary::kGroupBy, AddGroupBy, options.group_by);
  add(Summary::kHistogram, AddHistogram, options.histogram);
  add(Summary::kBlocked, AddBlocked, options.blocked);
}

std::vector<Command> AddCommands(CLI::App& app, Options& options) {
  std::vector<Command> commands;
  const auto* const query = AddQuery(app, options.query);
  commands.push_back({query, [query, &options] {
                        RefuseEmptyValues(*query, options.query.question);
                        return RunQuery(options.query);
                      }});
  AddSummaries(app, options, commands);
  commands.push_back(
      {AddImport(app, options.import), [&options] { return RunImport(options.import); }});
  commands.push_back(
      {AddConvert(app, options.convert), [&options] { return RunConvert(options.convert); }});
  commands.push_back({AddInfo(app, options.info), [&options] { return RunInfo(options.info); }});
  commands.push_back(
      {AddCheck(app, options.check), [&options] { return RunCheck(options.check); }});
  commands.push_back({AddDump(app, options.dump), [&options] { return RunDump(options.dump); }});
  commands.push_back(
      {AddStatus(app, options.status), [&options] { return RunStatus(options.status); }});
  commands.push_back(
      {AddJournals(app, options.journals), [&options] { return RunJournals(options.journals); }});
  commands.push_back(
      {AddRules(app, options.rules), [&options] { return RunRules(options.rules); }});
  return commands;
}

// False for a request for help or the version, which has been answered on stdout.
bool Parse(CLI::App& app, int argc, char** argv) {
  try {
    app.parse(argc, argv);
    return true;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      app.exit(error);
      return false;
    }
    throw UsageError(fmt::format("{}; see packetdb --help", error.what()));
  }
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
  Options options;
  const std::vector<Command> commands = AddCommands(app, options);
  if (!Parse(app, argc, argv)) {
    return kExitOk;
  }
  ConfigureLog({LogTarget::kStderr, log_level, "packetdb"});
  for (const Command& command : commands) {
    if (command.app->parsed()) {
      return command.run();
    }
  }
  throw UsageError(
      "no command given: give query, top, group-by, histogram, blocked, status, journals, info, "
      "check, dump, convert, import or rules; see packetdb --help");
}

}  // namespace
}  // namespace packetdb::host

int main(int argc, char** argv) {
  using namespace packetdb::host;
  OpenStandardStreams();
  // However we were started: a reader that has seen enough ends us quietly.
  std::signal(SIGPIPE, SIG_DFL);
  // A limit on the size of files is an error of the call that meets it, with a line of its own.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    return Run(argc, argv);
  } catch (const UsageError& error) {
    Complain(error.what());
    return kExitUsage;
  } catch (const UnreadableExpression& error) {
    std::fputs(error.what(), stderr);
    return kExitUsage;
  } catch (const std::exception& error) {
    Complain(error.what());
    return kExitFailed;
  }
}
