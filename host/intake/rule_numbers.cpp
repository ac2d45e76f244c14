#include "host/intake/rule_numbers.h"

#include <fmt/format.h>

#include "host/journals/error.h"
#include "host/log/log.h"
#include "host/sources/event.h"

namespace packetdb::host {

namespace {

constexpr std::size_t kProblemsTold = 3;

void TellOfDamage(const RuleRecorder& recorder) {
  const std::vector<std::string>& problems = recorder.problems();
  for (std::size_t i = 0; i < problems.size() && i < kProblemsTold; ++i) {
    WriteLog(kFailureLevel, problems[i]);
  }
  if (problems.size() > kProblemsTold) {
    WriteLog(kFailureLevel, fmt::format("{}: {} more damaged lines", recorder.path(),
                                        problems.size() - kProblemsTold));
  }
}

}  // namespace

RuleNumbers::RuleNumbers(const std::string& directory, RuleStatus& status)
    : recorder_(directory), status_(status) {
  TellOfDamage(recorder_);
  status_.known.Set(recorder_.rules());
}

void RuleNumbers::Number(PrefixDecision& decision, std::string_view prefix, std::int64_t now) {
  if (!retry_.IsShut(now)) {
    try {
      const std::uint32_t number = recorder_.NumberOf(prefix, decision.meaning, now);
      decision.flags |= number << kRuleShift;
      decision.is_numbered = true;
      status_.known.Set(recorder_.rules());
      if (number == 0) {
        TellOnceOfNone(prefix);
      }
      return;
    } catch (const JournalError& error) {
      retry_.ShutAt(now);
      failure_ = error.what();
    }
  }
  failures_.Tell(now, "rule dictionary", "journaled without the number of a rule", failure_);
}

void RuleNumbers::TellOnceOfNone(std::string_view prefix) {
  const bool is_too_long = prefix.size() > kLongestRulePrefix;
  bool& has_told = is_too_long ? has_told_of_length_ : has_told_of_room_;
  if (!has_told) {
    has_told = true;
    WriteLog(kFailureLevel,
             fmt::format("{}: {} '{}': events of such prefixes are journaled without the "
                         "number of a rule",
                         recorder_.path(),
                         is_too_long ? "too long a prefix" : "no room for the prefix", prefix));
  }
}

}  // namespace packetdb::host
