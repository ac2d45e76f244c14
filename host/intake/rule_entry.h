// A line of the rule dictionary: what a number in the flags of an event stands for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/sources/prefix.h"

namespace packetdb::host {

// What events of a rule are journaled with, and what people are told of it.
struct RuleMeaning {
  std::uint32_t code = 0;
  Verdict verdict = Verdict::kNone;
  std::uint32_t flags = 0;  // further bits of m_Flags
  std::string text;         // any bytes; what is beyond kLongestRuleText is cut

  bool operator==(const RuleMeaning&) const = default;
};

struct RuleEntry {
  std::uint32_t number = 0;  // 1 to kHighestRule
  std::int64_t since = 0;    // Unix seconds of the first event that the line was written for
  std::string prefix;        // any bytes, 1 to kLongestRulePrefix
  RuleMeaning meaning;

  bool operator==(const RuleEntry&) const = default;
};

// The kernel's prefixes have 127 bytes at most. A longer one gets no number.
inline constexpr std::size_t kLongestRulePrefix = 255;
inline constexpr std::size_t kLongestRuleText = 255;

}  // namespace packetdb::host
