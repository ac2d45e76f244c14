#include "host/intake/rule_set.h"

#include <algorithm>

#include "host/intake/glob.h"
#include "host/sources/event.h"
#include "host/sources/prefix.h"

namespace packetdb::host {

namespace {

RuleMeaning MeaningOfRule(const RuleSettings& rule) {
  // The bits of the number are not a rule's to set.
  return {rule.code, rule.verdict, rule.flags & ~kRuleMask, rule.text};
}

}  // namespace

RuleSet::RuleSet(const std::vector<RuleSettings>& rules) : rules_(rules) {
  for (std::size_t i = 0; i < rules_.size(); ++i) {
    if (IsGlob(rules_[i].prefix)) {
      wildcards_.push_back(i);
    } else {
      exact_.try_emplace(rules_[i].prefix, i);
    }
  }
}

PrefixMeaning RuleSet::MeaningOf(std::string_view prefix) const {
  const RuleSettings* const rule = prefix.empty() ? nullptr : FirstFit(prefix);
  if (rule != nullptr) {
    return {MeaningOfRule(*rule)};
  }
  CaptureCounters counters;
  const RuleOutcome outcome = Classify(prefix, {}, counters);
  return {{outcome.code, outcome.verdict, 0, {}}, counters.noted(Remark::kMalformedPrefix) != 0};
}

const RuleSettings* RuleSet::FirstFit(std::string_view prefix) const {
  const auto exact = exact_.find(prefix);
  const std::size_t bound = exact == exact_.end() ? rules_.size() : exact->second;
  const auto wild = std::find_if(wildcards_.begin(), wildcards_.end(), [&](std::size_t rule) {
    return rule > bound || GlobMatches(rules_[rule].prefix, prefix);
  });
  const std::size_t first = wild == wildcards_.end() ? bound : std::min(bound, *wild);
  return first == rules_.size() ? nullptr : &rules_[first];
}

}  // namespace packetdb::host
