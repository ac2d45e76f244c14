// A process that is stopped behind one of its system calls, to see what there is at that moment.
#pragma once

#include <functional>
#include <sys/types.h>
#include <sys/user.h>

namespace packetdb::faults {

enum class Calls {
  kEvery,
  kChanging,  // those that can change a file or its name, or flush it
};

enum class Flushing {
  kDone,
  kForgotten,  // the process is told that it has been done
};

class TracedChild {
 public:
  // Throws CannotRun when processes cannot be traced here.
  TracedChild(const std::function<void()>& act, Calls calls, Flushing flushing);
  TracedChild(const TracedChild&) = delete;
  TracedChild& operator=(const TracedChild&) = delete;
  ~TracedChild() { Kill(); }

  // Lets it go on until so many calls have returned. False when there were fewer and `act` has
  // returned; the process is still there. Throws std::runtime_error when `act` throws.
  bool RunCalls(int count);
  void Kill();

 private:
  bool IsBehindCall();
  void SetRegister(unsigned long long user_regs_struct::*which, unsigned long long value) const;

  const Calls calls_;
  const Flushing flushing_;
  long call_ = -1;        // the one that is under way
  bool forgets_ = false;  // it is a flush, and is not done
  bool* returned_;        // in memory that both processes see
  pid_t pid_;
};

}  // namespace packetdb::faults
