// The lines of the rule dictionary; docs/rule_dictionary.md describes them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "host/intake/rule_entry.h"

namespace packetdb::host {

inline constexpr std::string_view kRuleDictionaryName = "rules.dictionary";
inline constexpr std::string_view kRuleDictionaryTitle = "packetdb-rules 1";
// No line of an entry, its end included, is shorter than the shortest or longer than the longest.
inline constexpr std::size_t kShortestRuleLine = 32;
inline constexpr std::size_t kLongestRuleLine = 2200;
// A larger dictionary is not read, and does not grow.
inline constexpr std::size_t kLargestRuleDictionary = std::size_t{64} << 20U;

std::string RuleDictionaryPath(const std::string& directory);

// "none", "accept", "drop", "reject".
std::string_view RuleVerdictWord(Verdict verdict);
std::optional<Verdict> RuleVerdictOf(std::string_view word);

// The line of an entry, without its end.
std::string RuleLine(const RuleEntry& entry);

// The entry in a line; nothing when the line is damaged.
std::optional<RuleEntry> ParseRuleLine(std::string_view line);

}  // namespace packetdb::host
