#include "host/rules/verdicts.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "host/rules/conditions.h"
#include "host/rules/json_fields.h"

namespace packetdb::host {
namespace {

using nlohmann::json;

// Packets go on elsewhere, and how they come back is not followed.
constexpr std::array<std::string_view, 9> kElsewhere = {
    "return", "queue", "snat", "dnat", "masquerade", "redirect", "tproxy", "synproxy", "fwd"};

// Whether a rule may be the last that established traffic sees, when what fits it stays there.
bool MayEndEstablished(const Scope& scope) {
  if (scope.established == Established::kExcluded) return false;
  return scope.established == Established::kIncluded || scope.is_partial || !scope.has_conditions;
}

void End(FilterRule& rule, RuleEnd end) {
  rule.end = end;
  rule.may_settle = rule.may_settle || MayEndEstablished(rule.scope);
}

// Established traffic is followed only where all of what the conditions leave goes.
void Call(FilterRule& rule, const std::string& chain) {
  if (rule.scope.established == Established::kExcluded) return;
  if (rule.scope.is_partial) {
    rule.may_settle = true;
  } else {
    rule.calls.push_back(chain);
  }
}

// One element of a verdict map, which stands for one value of its key.
void ReadMapped(FilterRule& rule, const json& element, bool is_state) {
  if (!element.is_array() || element.size() != 2) {
    rule.may_settle = true;
    return;
  }
  if (is_state && !HasElement(element[0], "established")) return;
  for (const char* kind : {"jump", "goto"}) {
    const json& target = Member(element[1], kind);
    if (!target.is_null()) Call(rule, TextMember(target, "target"));
  }
  const bool goes_on = element[1].contains("jump") || element[1].contains("continue");
  if (is_state && !goes_on) rule.may_settle = true;
}

void ReadMap(FilterRule& rule, const json& map) {
  rule.end = RuleEnd::kElsewhere;
  const json& key = Member(map, "key");
  const json& elements = Member(Member(map, "data"), "set");
  const bool is_state = IsConnectionState(key);
  if (!elements.is_array() || (!is_state && !IsOfConnection(key))) {
    rule.may_settle = true;
    return;
  }
  for (const json& element : elements) ReadMapped(rule, element, is_state);
}

}  // namespace

bool ReadVerdict(FilterRule& rule, const std::string& kind, const json& value) {
  if (kind == "accept") {
    End(rule, RuleEnd::kAccept);
  } else if (kind == "drop") {
    End(rule, RuleEnd::kDrop);
  } else if (kind == "reject") {
    End(rule, RuleEnd::kReject);
  } else if (kind == "jump" || kind == "goto") {
    Call(rule, TextMember(value, "target"));
    rule.end = RuleEnd::kElsewhere;
    if (kind == "goto") End(rule, RuleEnd::kElsewhere);
  } else if (kind == "vmap") {
    ReadMap(rule, value);
  } else if (std::find(kElsewhere.begin(), kElsewhere.end(), kind) != kElsewhere.end()) {
    End(rule, RuleEnd::kElsewhere);
  } else {
    return kind == "continue";
  }
  return true;
}

}  // namespace packetdb::host
