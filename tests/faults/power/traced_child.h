// A process that is stopped behind one of its system calls, to see what there is at that moment.
#pragma once

#include <functional>
#include <sys/types.h>

namespace packetdb::faults {

enum class Calls {
  kEvery,
  kChanging,  // those that can change a file or its name, or flush it
};

class TracedChild {
 public:
  // Throws CannotRun when processes cannot be traced here.
  TracedChild(const std::function<void()>& act, Calls calls);
  TracedChild(const TracedChild&) = delete;
  TracedChild& operator=(const TracedChild&) = delete;
  ~TracedChild() { Kill(); }

  // Lets it go on until so many calls have returned. False when there were fewer and `act` has
  // returned; the process is still there. Throws std::runtime_error when `act` throws.
  bool RunCalls(int count);
  void Kill();

 private:
  bool IsBehindCall() const;

  const Calls calls_;
  bool* returned_;  // in memory that both processes see
  pid_t pid_;
};

}  // namespace packetdb::faults
