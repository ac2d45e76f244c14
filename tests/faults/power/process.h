// Other processes: those that are forked, and programs that are run. None outlives this one.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace packetdb::faults {

// A process that does one thing and ends. It is killed with its owner, and when this process dies.
class Child {
 public:
  // What `act` throws is printed, and makes the process end with status 1.
  explicit Child(const std::function<void()>& act);
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child();

  pid_t pid() const { return pid_; }
  // Waits for its end. Throws std::runtime_error unless it ended with status 0.
  void Join(const std::string& what);
  // Kills it and waits for its end. Harmless when it has ended.
  void Kill();

 private:
  pid_t pid_;
};

// Runs a program with its output thrown away. Throws CannotRun when it is not installed, and
// std::runtime_error when it fails.
void RunCommand(const std::vector<std::string>& words);

}  // namespace packetdb::faults
