#include "host/cli/rules_command.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <memory>
#include <stdexcept>

#include "host/cli/output_format.h"
#include "host/cli/report.h"
#include "host/cli/rules_report.h"
#include "host/cli/usage_error.h"
#include "host/config/load.h"
#include "host/intake/glob.h"
#include "host/rules/bounded_run.h"
#include "host/rules/group_state.h"
#include "host/rules/lint.h"
#include "host/rules/snippet.h"

namespace packetdb::host {

namespace {

constexpr const char* kLiveRuleset = "the ruleset of nft";

// Sets are left out, which may be large and say nothing about logging.
const std::vector<std::string> kListRuleset = {"nft", "-j", "-t", "list", "ruleset"};

void RefuseUnknownKinds(const std::vector<std::string>& kinds) {
  const auto& known = RuleFindingKinds();
  for (const std::string& kind : kinds) {
    if (std::find(known.begin(), known.end(), kind) == known.end()) {
      throw UsageError(
          fmt::format("'{}' is not a kind of finding: give {}", kind, fmt::join(known, ", ")));
    }
  }
}

struct InputCloser {
  void operator()(std::FILE* file) const {
    if (file != stdin) {
      std::fclose(file);
    }
  }
};

// One byte more than is read as a ruleset, so that a larger one is seen to be.
std::string ReadSaved(const std::string& path) {
  const std::unique_ptr<std::FILE, InputCloser> file(path == "-" ? stdin
                                                                 : std::fopen(path.c_str(), "rbe"));
  std::string text;
  std::array<char, 65536> part{};
  while (file != nullptr && text.size() <= kLargestRuleset) {
    const std::size_t got = std::fread(part.data(), 1, part.size(), file.get());
    text.append(part.data(), got);
    if (got == 0) {
      break;
    }
  }
  if (file == nullptr || std::ferror(file.get()) != 0) {
    throw std::runtime_error(fmt::format("cannot read {}: {}", path, std::strerror(errno)));
  }
  return text;
}

Ruleset ReadFrom(const RulesLintOptions& options) {
  const bool is_live = options.ruleset.empty();
  const std::string text = is_live ? RunBounded(kListRuleset, {.output_bytes = kLargestRuleset})
                                   : ReadSaved(options.ruleset);
  try {
    return ReadRuleset(text);
  } catch (const RulesetError& error) {
    throw std::runtime_error(
        fmt::format("{}: {}", is_live ? kLiveRuleset : options.ruleset, error.what()));
  }
}

ConfigurationPlaces PlacesOf(const RulesLintOptions& options) {
  if (options.config.empty()) {
    return {};
  }
  return {options.config, true};
}

LintSettings SettingsOf(const Configuration& configuration, bool is_live) {
  LintSettings settings;
  for (const LogGroupSettings& group : configuration.log_groups) {
    settings.read_groups.push_back(group.group);
  }
  const auto rules = std::make_shared<std::vector<RuleSettings>>(configuration.rules);
  settings.is_configured = [rules](const std::string& prefix) {
    return std::any_of(rules->begin(), rules->end(), [&prefix](const RuleSettings& rule) {
      return GlobMatches(rule.prefix, prefix);
    });
  };
  settings.state_of = ReadGroupState;
  settings.is_live = is_live;
  return settings;
}

void LeaveOut(const std::vector<std::string>& kinds, std::vector<RuleFinding>& findings) {
  std::erase_if(findings, [&kinds](const RuleFinding& finding) {
    return std::find(kinds.begin(), kinds.end(), finding.kind) != kinds.end();
  });
}

}  // namespace

ExitCode RunRulesPrint(const RulesPrintOptions& options) {
  const auto& filters = SnippetFilters();
  if (std::find(filters.begin(), filters.end(), options.filter) == filters.end()) {
    throw UsageError(fmt::format("'{}' is not a packet filter that there is a snippet for: give {}",
                                 options.filter, fmt::join(filters, ", ")));
  }
  SnippetSettings settings;
  settings.group = options.group;
  std::fputs(Snippet(options.filter, settings).c_str(), stdout);
  return FlushOutput() ? kExitOk : kExitFailed;
}

ExitCode RunRulesLint(const RulesLintOptions& options) {
  const OutputFormat format = ParseOutputFormat(options.output);
  RefuseUnknownKinds(options.ignore);
  Configuration configuration;
  try {
    configuration = LoadConfiguration(PlacesOf(options));
  } catch (const ConfigurationError& error) {
    for (const std::string& problem : error.problems()) {
      Complain(problem);
    }
    return kExitUsage;
  }
  const Ruleset ruleset = ReadFrom(options);
  LintResult result = Lint(ruleset, SettingsOf(configuration, options.ruleset.empty()));
  LeaveOut(options.ignore, result.findings);
  PrintLint(result, format, stdout);
  if (!FlushOutput()) {
    return kExitFailed;
  }
  return result.findings.empty() ? kExitOk : kExitFindings;
}

}  // namespace packetdb::host
