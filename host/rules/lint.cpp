#include "host/rules/lint.h"

#include <algorithm>
#include <fmt/format.h>
#include <set>

#include "host/log/escape.h"
#include "host/rules/checks.h"
#include "host/rules/established.h"

namespace packetdb::host {
namespace {

void CheckEstablished(const Ruleset& ruleset, Findings& findings) {
  for (const EstablishedLog& found : FindEstablishedLogs(ruleset)) {
    findings.push_back(
        {"logs-established",
         {found.rule->place},
         found.is_said ? "it logs every packet of established connections"
                       : "it logs every packet of the connections that it lets through, and not "
                         "only the first",
         found.is_said ? "log ct state new instead"
                       : "add ct state new, or put ct state established,related accept in front"});
  }
}

bool LogsTo(const std::vector<FoundLog>& logs, std::uint16_t group) {
  return std::any_of(logs.begin(), logs.end(),
                     [group](const FoundLog& found) { return found.log->group == group; });
}

std::size_t CountHidden(const Ruleset& ruleset) {
  std::size_t hidden = 0;
  for (const FilterChain& chain : ruleset.chains) {
    hidden += static_cast<std::size_t>(
        std::count_if(chain.rules.begin(), chain.rules.end(),
                      [](const FilterRule& rule) { return rule.has_hidden_log; }));
  }
  return hidden;
}

void NoteGroups(const std::vector<FoundLog>& logs, const LintSettings& settings,
                std::vector<std::string>& notes) {
  for (const std::uint16_t group : settings.read_groups) {
    if (!LogsTo(logs, group)) notes.push_back(fmt::format("no rule logs to group {}", group));
  }
  std::set<std::uint16_t> groups(settings.read_groups.begin(), settings.read_groups.end());
  for (const FoundLog& found : logs) {
    if (found.log->group) groups.insert(*found.log->group);
  }
  for (const std::uint16_t group : groups) {
    const GroupState state = settings.state_of(group);
    if (state.reader == GroupState::Reader::kHidden) {
      notes.push_back(
          fmt::format("who holds log group {} cannot be seen from here ({})", group, state.who));
    }
  }
}

}  // namespace

std::vector<FoundLog> AllLogs(const Ruleset& ruleset) {
  std::vector<FoundLog> logs;
  for (const FilterChain& chain : ruleset.chains) {
    for (const FilterRule& rule : chain.rules) {
      for (const LogStatement& log : rule.logs) logs.push_back({&rule, &log});
    }
  }
  return logs;
}

bool IsRead(const LogStatement& log, const LintSettings& settings) {
  const auto& groups = settings.read_groups;
  return log.group && std::find(groups.begin(), groups.end(), *log.group) != groups.end();
}

std::string QuotedPrefix(const std::string& prefix) { return "'" + EscapeForLog(prefix) + "'"; }

LintResult Lint(const Ruleset& ruleset, const LintSettings& settings) {
  const std::vector<FoundLog> logs = AllLogs(ruleset);
  LintResult result;
  CheckTakenGroups(logs, settings, result.findings);
  CheckUnreadGroups(logs, settings, result.findings);
  CheckShortCopies(logs, result.findings);
  CheckPrefixLengths(logs, result.findings);
  CheckForms(logs, settings, result.findings);
  CheckVerdicts(logs, settings, result.findings);
  CheckSamePrefixes(logs, settings, result.findings);
  CheckMissingPrefixes(logs, settings, result.findings);
  CheckEstablished(ruleset, result.findings);
  CheckKernelLog(logs, result.findings);
  CheckMissingLengths(logs, result.findings);
  NoteGroups(logs, settings, result.notes);
  if (const std::size_t hidden = CountHidden(ruleset); hidden != 0) {
    result.notes.push_back(fmt::format(
        "nft shows no details of {} NFLOG rules of iptables: look at iptables-save", hidden));
  }
  return result;
}

const std::vector<std::string>& RuleFindingKinds() {
  static const std::vector<std::string> kinds = {
      "taken-group",      "unread-group",  "short-snaplen", "long-prefix",
      "malformed-prefix", "wrong-verdict", "same-prefix",   "no-prefix",
      "logs-established", "kernel-log",    "no-snaplen"};
  return kinds;
}

}  // namespace packetdb::host
