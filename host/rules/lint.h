// What is wrong with the way in which a packet filter logs, as far as it can be told for certain.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/rules/group_state.h"
#include "host/rules/ruleset.h"

namespace packetdb::host {

struct RuleFinding {
  std::string kind;               // one of RuleFindingKinds()
  std::vector<RulePlace> places;  // the rules; none where no rule is at fault
  std::string what;               // is wrong
  std::string advice;             // what to do
};

struct LintSettings {
  std::vector<std::uint16_t> read_groups;  // those that packetdbd is configured to read
  // Whether the configuration says what a prefix means.
  std::function<bool(const std::string&)> is_configured = [](const std::string&) { return false; };
  // Who reads a group on this machine.
  std::function<GroupState(std::uint16_t)> state_of = [](std::uint16_t) { return GroupState(); };
  bool is_live = false;  // the ruleset is that of this machine, now
};

struct LintResult {
  std::vector<RuleFinding> findings;
  std::vector<std::string> notes;  // what could not be looked at, a line each
};

// Looks at every rule that logs. Findings stand in the order of the kinds below, and of the rules.
LintResult Lint(const Ruleset& ruleset, const LintSettings& settings);

// Every kind of finding, the gravest first.
const std::vector<std::string>& RuleFindingKinds();

}  // namespace packetdb::host
