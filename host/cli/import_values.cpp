#include "host/cli/import_values.h"

#include <fmt/format.h>
#include <utility>

#include "host/cli/parse_number.h"
#include "host/cli/usage_error.h"
#include "host/journals/names.h"
#include "host/sources/event.h"

namespace packetdb::host {

namespace {

static_assert(kLongestName == kMaxInterfaceName, "a name that is read can be journaled");

void CheckInterfaceName(const std::string& name) {
  if (!IsInterfaceName(name)) {
    throw UsageError(
        fmt::format("'{}' cannot be the name of an interface: 1 to {} bytes, no "
                    "blanks, no '/'",
                    name, kLongestName));
  }
}

RuleOutcome OutcomeOf(std::string_view verdict, const std::string& text) {
  if (verdict == "accept") {
    return {kCodeAccepted, Verdict::kAccept};
  }
  if (verdict == "drop") {
    return {kCodeDropped, Verdict::kDrop};
  }
  if (verdict == "reject") {
    return {kCodeRejected, Verdict::kReject};
  }
  if (verdict == "log") {
    return {kCodeLogged, Verdict::kNone};
  }
  throw UsageError(
      fmt::format("'{}' is not a rule: behind the last '=' goes accept, drop, reject or "
                  "log, and :CODE if wanted",
                  text));
}

RuleOutcome ParseOutcome(std::string_view outcome, const std::string& text) {
  const std::size_t colon = outcome.find(':');
  RuleOutcome parsed = OutcomeOf(outcome.substr(0, colon), text);
  if (colon != std::string_view::npos) {
    const auto code = ParseNumber(outcome.substr(colon + 1), 1, kMaxPrefixCode);
    if (!code) {
      throw UsageError(
          fmt::format("'{}' is not a rule: its code is not from 1 to {}", text, kMaxPrefixCode));
    }
    parsed.code = static_cast<std::uint32_t>(*code);
  }
  return parsed;
}

}  // namespace

void CheckGroupName(const std::string& name) {
  if (!IsGroupName(name)) {
    throw UsageError(DescribeBadGroupName(name));
  }
}

InterfaceNames ParseInterfaceNames(const std::string& default_name,
                                   const std::vector<std::string>& texts) {
  CheckInterfaceName(default_name);
  InterfaceNames names;
  names.default_name = default_name;
  for (const std::string& text : texts) {
    const std::size_t equals = text.find('=');
    const auto index = ParseNumber(text.substr(0, equals), 1, 0x7FFFFFFF);
    if (equals == std::string::npos || !index) {
      throw UsageError(fmt::format("'{}' does not name an interface: give INDEX=NAME", text));
    }
    const std::string name = text.substr(equals + 1);
    CheckInterfaceName(name);
    names.by_index[static_cast<std::uint32_t>(*index)] = name;
  }
  return names;
}

RuleTable ParseRules(const std::vector<std::string>& texts) {
  RuleTable rules;
  for (const std::string& text : texts) {
    const std::size_t equals = text.rfind('=');
    if (equals == std::string::npos || equals == 0) {
      throw UsageError(
          fmt::format("'{}' is not a rule: give PREFIX=VERDICT or "
                      "PREFIX=VERDICT:CODE",
                      text));
    }
    rules[text.substr(0, equals)] = ParseOutcome(std::string_view(text).substr(equals + 1), text);
  }
  return rules;
}

}  // namespace packetdb::host
