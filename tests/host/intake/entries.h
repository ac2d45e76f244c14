// Entries and texts of rule dictionaries, as tests write them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/intake/rule_entry.h"
#include "host/intake/rule_line.h"

namespace packetdb::host::test {

inline RuleEntry EntryOf(std::uint32_t number, std::string_view prefix, std::uint32_t code,
                         std::int64_t since = 0) {
  RuleEntry entry;
  entry.number = number;
  entry.since = since;
  entry.prefix = prefix;
  entry.meaning.code = code;
  return entry;
}

inline RuleMeaning MeaningOf(std::uint32_t code, std::string_view text = {}) {
  RuleMeaning meaning;
  meaning.code = code;
  meaning.text = text;
  return meaning;
}

// A whole dictionary with these entries.
inline std::string DictionaryText(const std::vector<RuleEntry>& entries) {
  std::string text(kRuleDictionaryTitle);
  text += '\n';
  for (const RuleEntry& entry : entries) text += RuleLine(entry) + '\n';
  return text;
}

}  // namespace packetdb::host::test
