#include "host/intake/prefix_table.h"

#include <utility>

#include "host/intake/rule_entry.h"
#include "host/sources/prefix.h"

namespace packetdb::host {

PrefixTable::PrefixTable(const RuleSet& rules, const Exclusions& exclusions)
    : rules_(rules), exclusions_(exclusions) {}

PrefixDecision& PrefixTable::Find(std::string_view prefix) {
  const auto found = decisions_.find(prefix);
  return found != decisions_.end() ? found->second : Add(prefix);
}

PrefixDecision& PrefixTable::Add(std::string_view prefix) {
  if (prefix.size() > kLongestRulePrefix) {
    not_kept_ = Decide(prefix);
    return not_kept_;
  }
  if (decisions_.size() >= kMostPrefixes) {
    decisions_.clear();
    ++times_emptied_;
  }
  return decisions_.emplace(prefix, Decide(prefix)).first->second;
}

PrefixDecision PrefixTable::Decide(std::string_view prefix) const {
  PrefixMeaning found = rules_.MeaningOf(prefix);
  PrefixDecision decision;
  decision.code = found.meaning.code;
  decision.flags = VerdictFlag(found.meaning.verdict) | found.meaning.flags;
  decision.exclusions = exclusions_.WithPrefix(prefix);
  decision.is_malformed = found.is_malformed;
  decision.is_numbered = prefix.empty();
  decision.meaning = std::move(found.meaning);
  return decision;
}

}  // namespace packetdb::host
