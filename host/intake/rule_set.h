// What log prefixes mean: the configured rules, then what a prefix says of itself.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "host/config/configuration.h"
#include "host/intake/rule_entry.h"
#include "host/intake/string_keys.h"

namespace packetdb::host {

struct PrefixMeaning {
  RuleMeaning meaning;
  bool is_malformed = false;  // starts like our own form, does not follow it, and no rule has it
};

class RuleSet {
 public:
  explicit RuleSet(const std::vector<RuleSettings>& rules);

  // The first rule in the order of the configuration that fits, with or without wildcards; else the
  // prefix's own words or the default (host/sources/prefix.h). An empty prefix is that of no rule,
  // and no rule is asked. Takes time with each rule that has wildcards: callers keep the answer.
  PrefixMeaning MeaningOf(std::string_view prefix) const;

 private:
  const RuleSettings* FirstFit(std::string_view prefix) const;

  std::vector<RuleSettings> rules_;
  ByName<std::size_t> exact_;           // first rule without wildcards, by its prefix
  std::vector<std::size_t> wildcards_;  // rules with wildcards, in order
};

}  // namespace packetdb::host
