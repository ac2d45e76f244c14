// What is done with the events of each log prefix, decided once.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/intake/exclusions.h"
#include "host/intake/rule_set.h"
#include "host/intake/string_keys.h"

namespace packetdb::host {

// What every event needs stands in front, so that it shares a cache line with the prefix.
struct PrefixDecision {
  std::uint32_t code = 0;  // for m_ErrorCode
  std::uint32_t flags =
      0;  // for m_Flags: the verdict's, the rule's and, once it has one, its number
  Exclusions::Set exclusions = 0;  // those that the prefix leaves possible
  bool is_malformed = false;
  bool is_numbered = false;  // the dictionary has been asked; prefixes without a rule need not
  RuleMeaning meaning;
};

// Keeps the decisions. When too many prefixes were seen, everything is decided anew. One that is
// too long for the dictionary is decided each time.
class PrefixTable {
 public:
  static constexpr std::size_t kMostPrefixes = 16384;

  // Both outlive the table.
  PrefixTable(const RuleSet& rules, const Exclusions& exclusions);

  // The decision is the caller's to number, and valid until the next call.
  PrefixDecision& Find(std::string_view prefix);

  std::uint64_t times_emptied() const { return times_emptied_; }

 private:
  PrefixDecision Decide(std::string_view prefix) const;
  PrefixDecision& Add(std::string_view prefix);

  const RuleSet& rules_;
  const Exclusions& exclusions_;
  ByName<PrefixDecision> decisions_;
  PrefixDecision not_kept_;
  std::uint64_t times_emptied_ = 0;
};

}  // namespace packetdb::host
