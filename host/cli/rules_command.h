// `packetdb rules print` and `packetdb rules lint`: how the packet filter is to log, and whether it
// does.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/cli/exit_code.h"
#include "host/config/configuration.h"

namespace packetdb::host {

struct RulesPrintOptions {
  std::uint16_t group = kDefaultLogGroup;
  std::string filter = "nftables";  // of SnippetFilters()
};

struct RulesLintOptions {
  std::string config;   // packetdbd's; empty: the usual place, if there is one
  std::string ruleset;  // a saved one, or "-" for standard input; empty: that of this machine
  std::vector<std::string> ignore;  // kinds of findings that are not told
  std::string output = "text";      // or "json"
};

// Snippets and findings go to stdout, notes and errors to stderr, a line each. Throw UsageError.
ExitCode RunRulesPrint(const RulesPrintOptions& options);
// kExitFindings when there are some.
ExitCode RunRulesLint(const RulesLintOptions& options);

}  // namespace packetdb::host
