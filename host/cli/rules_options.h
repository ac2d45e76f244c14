// The options of `packetdb rules`.
#pragma once

#include "host/cli/rules_command.h"

namespace CLI {
class App;
}

namespace packetdb::host {

struct RulesOptions {
  RulesPrintOptions print;
  RulesLintOptions lint;
  const CLI::App* lint_command = nullptr;  // parsed or not
};

// Adds the subcommand with its own, which fill `options` when the command line is parsed.
CLI::App* AddRules(CLI::App& app, RulesOptions& options);

// Runs the one that was given.
ExitCode RunRules(const RulesOptions& options);

}  // namespace packetdb::host
