// What a rule dictionary holds, line by line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/intake/rule_entry.h"

namespace packetdb::host {

struct RuleFile {
  std::vector<RuleEntry> entries;     // in the order of the file
  std::vector<std::string> problems;  // "PATH:LINE: ..." for each damaged line
  std::size_t whole_bytes = 0;        // up to the end of the last whole line
  // Above every number that the file has, or may have had in a line that is damaged or was cut.
  std::uint32_t next_number = 1;
};

// Takes apart the text of the dictionary at `path`. A last line without its end was being written
// when the machine stopped, or is being written now, and is no entry. Throws JournalError when the
// text is no rule dictionary.
RuleFile ParseRuleFile(std::string_view text, const std::string& path);

}  // namespace packetdb::host
