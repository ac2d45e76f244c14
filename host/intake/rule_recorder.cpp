#include "host/intake/rule_recorder.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

#include "host/intake/rule_file.h"
#include "host/intake/rule_line.h"
#include "host/journals/error.h"
#include "host/journals/files.h"
#include "host/sources/event.h"

namespace packetdb::host {

namespace {

GrowingFile OpenOrCreate(const std::string& directory) {
  const std::string path = RuleDictionaryPath(directory);
  std::string ignored;
  if (!ReadSmallFile(path, kLargestRuleDictionary, &ignored)) {
    CreateSmallFile(path, fmt::format("{}\n", kRuleDictionaryTitle));
  }
  return GrowingFile(path);
}

}  // namespace

RuleRecorder::RuleRecorder(const std::string& directory) : file_(OpenOrCreate(directory)) {
  if (!file_.Lock()) {
    throw JournalError(fmt::format(
        "rule dictionary {} is in use: another process journals events there", file_.path()));
  }
  RuleFile file = ParseRuleFile(file_.Read(kLargestRuleDictionary), file_.path());
  for (RuleEntry& entry : file.entries) {
    known_[std::move(entry.prefix)] = {entry.number, entry.since, std::move(entry.meaning)};
  }
  problems_ = std::move(file.problems);
  whole_bytes_ = file.whole_bytes;
  next_number_ = file.next_number;
}

std::uint32_t RuleRecorder::NumberOf(std::string_view prefix, RuleMeaning meaning,
                                     std::int64_t since) {
  if (prefix.empty() || prefix.size() > kLongestRulePrefix) {
    return 0;
  }
  meaning.text.resize(std::min(meaning.text.size(), kLongestRuleText));
  const auto known = known_.find(prefix);
  const bool is_new = known == known_.end();
  if (!is_new && known->second.meaning == meaning) {
    return known->second.number;
  }
  if (is_new && next_number_ > kHighestRule) {
    return 0;
  }
  RuleEntry entry{.number = is_new ? next_number_ : known->second.number,
                  // A clock that was set back must not put a later line before an earlier one.
                  .since = is_new ? since : std::max(since, known->second.since),
                  .prefix = std::string(prefix),
                  .meaning = std::move(meaning)};
  if (!Write(entry)) {
    return 0;
  }
  next_number_ += is_new ? 1 : 0;
  known_[std::move(entry.prefix)] = {entry.number, entry.since, std::move(entry.meaning)};
  return entry.number;
}

// False when there is no room.
bool RuleRecorder::Write(const RuleEntry& entry) {
  const std::string line = RuleLine(entry) + '\n';
  if (whole_bytes_ + line.size() > kLargestRuleDictionary) {
    return false;
  }
  file_.WriteTail(whole_bytes_, line);
  whole_bytes_ += line.size();
  return true;
}

}  // namespace packetdb::host
