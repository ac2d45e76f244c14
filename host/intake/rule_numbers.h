// Gives the rules of events their numbers, and does without where there are none to have.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/intake/limited_log.h"
#include "host/intake/prefix_table.h"
#include "host/intake/retry_gate.h"
#include "host/intake/rule_recorder.h"
#include "host/status/status_page.h"

namespace packetdb::host {

class RuleNumbers {
 public:
  // Opens the dictionary of `directory`, and tells the log what is damaged there. Throws
  // JournalError. The status outlives this.
  RuleNumbers(const std::string& directory, RuleStatus& status);

  // Asks for the number of a decision that has not been numbered, about `prefix`, for an event of
  // time `now` (Unix seconds). Where the dictionary has no room, or the prefix is too long for it,
  // the rule stays without a number; where it cannot be written, the next second tries again.
  void Number(PrefixDecision& decision, std::string_view prefix, std::int64_t now);

 private:
  void TellOnceOfNone(std::string_view prefix);

  RuleRecorder recorder_;
  RuleStatus& status_;
  LimitedLog failures_;
  RetryGate retry_;
  std::string failure_;  // why the dictionary could not be written
  bool has_told_of_room_ = false;
  bool has_told_of_length_ = false;
};

}  // namespace packetdb::host
