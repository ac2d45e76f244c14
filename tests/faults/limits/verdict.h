// What a fault program asks of the system under test, and how often the answer was no.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace packetdb::faults {

class Verdict {
 public:
  // Looks at one promise; prints the text when it was broken.
  void Require(bool kept, const std::string& promise);
  // Adds what another process found.
  void Add(std::uint64_t looked_at, std::uint64_t broken);

  std::uint64_t looked_at() const { return looked_at_; }
  std::uint64_t broken() const { return broken_; }

 private:
  std::uint64_t looked_at_ = 0;
  std::uint64_t broken_ = 0;
};

// Runs `trial` in a child process, so that it may set limits, be left with a broken file, or die.
// Death by a signal, an exception and more than `kTrialSeconds` are broken promises; `name` says
// whose. The child leaves without running destructors: it must not own anything that outlives it.
inline constexpr unsigned int kTrialSeconds = 100;
using Trial = std::function<void(Verdict& verdict)>;
void RunTrial(const std::string& name, const Trial& trial, Verdict* verdict);

// The signal that `act` dies of in a child process; 0 when it returns.
int SignalOf(const std::function<void()>& act);

}  // namespace packetdb::faults
