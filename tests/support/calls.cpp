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
  fault_fired_ = false;
}

std::optional<int> CallList::Planned(const std::string& operation) {
  if (fallible_calls_++ == failing_call_) {
    fault_fired_ = true;
    return -1;
  }
  auto& script = scripts_[operation];
  if (script.empty()) return std::nullopt;
  const int result = script.front();
  script.pop_front();
  return result;
}

}  // namespace packetdb::test
