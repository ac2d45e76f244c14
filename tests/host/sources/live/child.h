// Parts of a test that run in a process of their own.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>

namespace packetdb::host::test {

// What the function returns in a child process, which then ends; "died" when it did not get there.
std::string InChild(const std::function<std::string()>& function);

// A child process that runs until it is done or this goes out of scope.
class Child {
 public:
  explicit Child(const std::function<void()>& function);
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  pid_t pid() const { return pid_; }
  void Signal(int signal) const;
  bool IsRunning();
  // Waits for its end.
  void Join();

 private:
  pid_t pid_;
};

// What a process that reads packets is left with: from now on it can open nothing.
void OpenNothingMore();
void GiveUpCapabilities();

}  // namespace packetdb::host::test
