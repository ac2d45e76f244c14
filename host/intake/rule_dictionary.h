// Which rule an event came from, for whoever reads journals: the numbers in the events' flags, and
// what they meant when. docs/rule_dictionary.md describes the file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/intake/rule_entry.h"

namespace packetdb::host {

// The number in an event's flags; 0 for none.
std::uint32_t RuleNumber(std::uint32_t flags);

class RuleDictionary {
 public:
  RuleDictionary() = default;  // empty

  // Reads the dictionary of a journals' directory as it is at this moment, also while intake adds
  // to it. Without one it is empty. Throws JournalError when the file cannot be read or is none.
  static RuleDictionary Load(const std::string& directory);
  // The same for a text, which is that of the file at `path`.
  static RuleDictionary Parse(std::string_view text, const std::string& path);

  // What `number` stood for at a time, in Unix seconds; before its first line, what that says. Null
  // for a number that no line has. Valid as long as the dictionary.
  const RuleEntry* Find(std::uint32_t number, std::int64_t unix_time) const;

  // Every line with that code, by number, oldest first.
  std::vector<RuleEntry> WithCode(std::uint32_t code) const;

  // All lines, by number, those of one number in the order of the file.
  const std::vector<RuleEntry>& entries() const { return entries_; }
  // Lines that are damaged, "PATH:LINE: ..." each.
  const std::vector<std::string>& problems() const { return problems_; }

 private:
  std::vector<RuleEntry> entries_;
  std::vector<std::string> problems_;
};

}  // namespace packetdb::host
