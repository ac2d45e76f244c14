// The calls that reach the scripted platform, and the failures that a test plans for them.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace packetdb::test {

// One list for the record file, the bus, the clock and the system log, so that a test can compare
// the order across all of them. An entry reads like the call: "ReadRecords(0, 100)".
class CallList {
 public:
  void Note(std::string call) { all_.push_back(std::move(call)); }
  const std::vector<std::string>& All() const { return all_; }
  // The calls of one operation, in order.
  std::vector<std::string> Of(std::string_view operation) const;
  int CountOf(std::string_view operation) const;

  // The next calls of `operation` return these results, one each; a negative one fails the call
  // without effect.
  void Script(const std::string& operation, std::initializer_list<int> results);
  // The fallible call with this number, counted from 0 and from now on, fails with -1.
  void FailCall(int number);
  // The same for that call and every later one.
  void FailCallsFrom(int number);
  // No further call fails; what follows still knows of the fault.
  void StopFailing() { failing_call_ = -1, failing_for_good_ = false; }
  bool FaultFired() const { return failed_operation_.has_value(); }
  // The operation that failed first, empty when none did.
  std::string FailedOperation() const { return failed_operation_.value_or(""); }

  // For the platform: the planned result of the fallible call that is being made, if any.
  std::optional<int> Planned(const std::string& operation);

  // Forgets the calls, keeps the plans.
  void Forget() { all_.clear(); }
  // Forgets everything.
  void Reset() { *this = CallList(); }

 private:
  std::vector<std::string> all_;
  std::map<std::string, std::deque<int>> scripts_;
  int fallible_calls_ = 0;
  int failing_call_ = -1;
  bool failing_for_good_ = false;
  std::optional<std::string> failed_operation_;
};

CallList& Calls();

}  // namespace packetdb::test
