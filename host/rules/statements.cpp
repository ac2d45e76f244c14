#include "host/rules/statements.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "host/rules/conditions.h"
#include "host/rules/json_fields.h"
#include "host/rules/verdicts.h"

namespace packetdb::host {
namespace {

using nlohmann::json;

constexpr std::uint64_t kHighestGroup = 0xFFFF;
constexpr std::uint64_t kHighestLength = 0xFFFFFFFF;

// Statements that every packet passes unchanged for what follows.
constexpr std::array<std::string_view, 4> kHarmless = {"counter", "mangle", "notrack", "secmark"};

std::optional<std::uint64_t> LogNumber(const FilterRule& rule, const json& options, const char* key,
                                       std::uint64_t highest) {
  const json& value = Member(options, key);
  if (value.is_null()) return std::nullopt;
  const auto number = NumberIn(value, highest);
  if (!number) {
    throw RulesetError(PlaceText(rule.place) + ": the '" + key + "' of its log statement is no " +
                       "number from 0 to " + std::to_string(highest));
  }
  return number;
}

void ReadLog(FilterRule& rule, const json& options) {
  LogStatement log;
  if (const auto group = LogNumber(rule, options, "group", kHighestGroup)) {
    log.group = static_cast<std::uint16_t>(*group);
  }
  if (const auto length = LogNumber(rule, options, "snaplen", kHighestLength)) {
    log.snap_length = static_cast<std::uint32_t>(*length);
  }
  log.prefix = TextMember(options, "prefix");
  log.level = TextMember(options, "level");
  log.scope = rule.scope;
  log.is_decided = true;
  rule.logs.push_back(log);
}

// Conditions behind a log statement leave only some of the packets that it logged.
void AddCondition(FilterRule& rule) {
  for (LogStatement& log : rule.logs) log.is_decided = false;
}

// A module of iptables, of which only the name is shown.
void ReadModule(FilterRule& rule, const json& module) {
  const std::string name = TextMember(module, "name");
  if (!IsText(Member(module, "type"), "target")) {
    AddCondition(rule);
    AddUnknownCondition(rule.scope);
  } else if (name == "LOG") {
    ReadLog(rule, json());
  } else if (name == "NFLOG") {
    rule.has_hidden_log = true;
  } else {
    rule.end = RuleEnd::kElsewhere;
    rule.may_settle = true;
  }
}

void ReadStatement(FilterRule& rule, const std::string& kind, const json& value) {
  if (kind == "match") {
    AddCondition(rule);
    AddMatch(rule.scope, value);
  } else if (kind == "log") {
    ReadLog(rule, value);
  } else if (kind == "xt") {
    ReadModule(rule, value);
  } else if (!ReadVerdict(rule, kind, value) &&
             std::find(kHarmless.begin(), kHarmless.end(), kind) == kHarmless.end()) {
    AddCondition(rule);
    AddUnknownCondition(rule.scope);
  }
}

}  // namespace

void ReadStatements(FilterRule& rule, const json& statements) {
  if (!statements.is_array()) {
    throw RulesetError(PlaceText(rule.place) + ": 'expr' is no list of statements");
  }
  for (const json& statement : statements) {
    if (!statement.is_object() || statement.size() != 1) {
      throw RulesetError(PlaceText(rule.place) + ": a statement is no object with one member");
    }
    ReadStatement(rule, statement.begin().key(), statement.begin().value());
  }
}

}  // namespace packetdb::host
