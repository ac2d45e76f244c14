// A forked process that never outlives the object.
#pragma once

#include <functional>
#include <sys/types.h>

namespace packetdb::faults {

class Child {
 public:
  // The child ends with the status that `act` returns, without running any destructor or flushing
  // any stream of this process; with 99 after an exception. Throws std::system_error when there is
  // no child to be had.
  explicit Child(const std::function<int()>& act);
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  pid_t pid() const { return pid_; }
  // Whether it has not ended by itself.
  bool IsRunning();
  void Signal(int signal) const;
  // Kills it and takes its remains; false when it had ended by itself before.
  bool Kill();
  // Waits for its end. The status that it ended with, or minus the signal that killed it.
  int Wait();
  // For who waited for it without this class: it has ended, with this status of waitpid.
  void Note(int status);

 private:
  pid_t pid_;
  bool ended_ = false;
  int outcome_ = 0;
};

}  // namespace packetdb::faults
