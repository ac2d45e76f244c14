#include "host/cli/rules_options.h"

#include <CLI/CLI.hpp>

namespace packetdb::host {

namespace {

void AddPrint(CLI::App& rules, RulesPrintOptions& options) {
  CLI::App* print = rules.add_subcommand("print", "Print rules that log, ready to load");
  print->add_option("--group", options.group, "log group, 5 by default")
      ->type_name("N")
      ->check(CLI::Range(0, 65535).description(""));
  print->add_option("--for", options.filter, "nftables, iptables, firewalld or ufw")
      ->type_name("FILTER");
}

const CLI::App* AddLint(CLI::App& rules, RulesLintOptions& options) {
  CLI::App* lint = rules.add_subcommand("lint", "Look for mistakes in how the packet filter logs");
  lint->add_option("--config", options.config, "packetdbd's configuration")->type_name("FILE");
  lint->add_option("--ruleset", options.ruleset,
                   "what 'nft -j list ruleset' printed, - for stdin; else it is asked")
      ->type_name("FILE");
  lint->add_option("--ignore", options.ignore, "a kind of finding that is not to be told")
      ->type_name("KIND");
  lint->add_option("-o,--output", options.output, "text, or json with one object")
      ->type_name("FORMAT");
  return lint;
}

}  // namespace

CLI::App* AddRules(CLI::App& app, RulesOptions& options) {
  CLI::App* rules =
      app.add_subcommand("rules", "Make the packet filter log, and check how it does");
  rules->require_subcommand(1);
  AddPrint(*rules, options.print);
  options.lint_command = AddLint(*rules, options.lint);
  return rules;
}

ExitCode RunRules(const RulesOptions& options) {
  return options.lint_command->parsed() ? RunRulesLint(options.lint) : RunRulesPrint(options.print);
}

}  // namespace packetdb::host
