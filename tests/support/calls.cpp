#include "tests/support/calls.h"

#include <algorithm>
#include <iterator>

namespace packetdb::test {

namespace {

bool IsCallOf(const std::string& call, std::string_view operation) {
  return call.starts_with(operation) && call.substr(operation.size()).starts_with('(');
}

}  // namespace

CallList& Calls() {
  static CallList calls;
  return calls;
}

std::vector<std::string> CallList::Of(std::string_view operation) const {
  std::vector<std::string> found;
  std::copy_if(all_.begin(), all_.end(), std::back_inserter(found),
               [&](const std::string& call) { return IsCallOf(call, operation); });
  return found;
}

int CallList::CountOf(std::string_view operation) const {
  return static_cast<int>(Of(operation).size());
}

void CallList::Script(const std::string& operation, std::initializer_list<int> results) {
  auto& script = scripts_[operation];
  script.insert(script.end(), results.begin(), results.end());
}

void CallList::FailCall(int number) {
  fallible_calls_ = 0;
  failing_call_ = number;
  failing_for_good_ = false;
  failed_operation_.reset();
}

void CallList::FailCallsFrom(int number) {
  FailCall(number);
  failing_for_good_ = true;
}

std::optional<int> CallList::Planned(const std::string& operation) {
  const int call = fallible_calls_++;
  if (call == failing_call_ || (failing_for_good_ && call > failing_call_)) {
    if (!FaultFired()) failed_operation_ = operation;
    return -1;
  }
  auto& script = scripts_[operation];
  if (script.empty()) return std::nullopt;
  const int result = script.front();
  script.pop_front();
  return result;
}

}  // namespace packetdb::test
