#include "host/intake/rule_dictionary.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "host/intake/rule_file.h"
#include "host/intake/rule_line.h"
#include "host/journals/files.h"
#include "host/sources/event.h"

namespace packetdb::host {

std::uint32_t RuleNumber(std::uint32_t flags) { return (flags & kRuleMask) >> kRuleShift; }

RuleDictionary RuleDictionary::Load(const std::string& directory) {
  const std::string path = RuleDictionaryPath(directory);
  std::string text;
  if (!ReadSmallFile(path, kLargestRuleDictionary, &text)) {
    return {};
  }
  return Parse(text, path);
}

RuleDictionary RuleDictionary::Parse(std::string_view text, const std::string& path) {
  RuleFile file = ParseRuleFile(text, path);
  RuleDictionary dictionary;
  dictionary.entries_ = std::move(file.entries);
  dictionary.problems_ = std::move(file.problems);
  std::stable_sort(dictionary.entries_.begin(), dictionary.entries_.end(),
                   [](const RuleEntry& a, const RuleEntry& b) { return a.number < b.number; });
  return dictionary;
}

const RuleEntry* RuleDictionary::Find(std::uint32_t number, std::int64_t unix_time) const {
  const auto first = std::partition_point(entries_.begin(), entries_.end(),
                                          [&](const RuleEntry& e) { return e.number < number; });
  if (first == entries_.end() || first->number != number) {
    return nullptr;
  }
  const RuleEntry* found = &*first;
  for (auto entry = std::next(first); entry != entries_.end() && entry->number == number; ++entry) {
    if (entry->since <= unix_time) {
      found = &*entry;
    }
  }
  return found;
}

std::vector<RuleEntry> RuleDictionary::WithCode(std::uint32_t code) const {
  std::vector<RuleEntry> found;
  std::copy_if(entries_.begin(), entries_.end(), std::back_inserter(found),
               [&](const RuleEntry& entry) { return entry.meaning.code == code; });
  return found;
}

}  // namespace packetdb::host
