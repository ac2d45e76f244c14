// The one writer of a directory's rule dictionary: gives each log prefix a number, once and for
// all.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/intake/rule_entry.h"
#include "host/intake/string_keys.h"
#include "host/journals/growing_file.h"

namespace packetdb::host {

class RuleRecorder {
 public:
  // Opens the dictionary of `directory`, which exists, after creating it when it is missing, and
  // holds it until destroyed; no file is opened after that. Throws JournalError, also when another
  // process has it.
  explicit RuleRecorder(const std::string& directory);

  // The number of the rule that logs with `prefix`, for an event of time `since` (Unix seconds)
  // that is journaled as `meaning` says. Both are on the disk with it before this returns; where
  // they are already, nothing is written. 0 for a prefix that is empty or too long, and when there
  // is no room for one more. Throws JournalError when the line cannot be written; then nothing
  // changed, and the next call tries again.
  std::uint32_t NumberOf(std::string_view prefix, RuleMeaning meaning, std::int64_t since);

  std::size_t rules() const { return known_.size(); }
  // Lines that were found damaged, "PATH:LINE: ..." each.
  const std::vector<std::string>& problems() const { return problems_; }
  const std::string& path() const { return file_.path(); }

 private:
  struct Known {
    std::uint32_t number = 0;
    std::int64_t since = 0;
    RuleMeaning meaning;
  };

  bool Write(const RuleEntry& entry);

  GrowingFile file_;
  ByName<Known> known_;
  std::vector<std::string> problems_;
  std::size_t whole_bytes_ = 0;
  std::uint32_t next_number_ = 1;
};

}  // namespace packetdb::host
