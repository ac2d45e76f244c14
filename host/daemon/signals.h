// Signals as events of a loop.
#pragma once

#include <csignal>
#include <initializer_list>
#include <optional>

namespace packetdb::host {

// Asks a process to leave its work to its successor: it ends what it has begun, and that is all.
// No terminal and no service manager sends this one by itself.
int HandOverSignal();

class Signals {
 public:
  // Blocks these signals; from then on they wait in fd(). Throws std::system_error.
  explicit Signals(std::initializer_list<int> answered);
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  // For poll().
  int fd() const { return fd_; }
  // The next signal that waits; never blocks.
  std::optional<int> Next() const;

  // In a child that has a loop of its own: it answers these signals. Those that reach all processes
  // of a terminal or a service at once, and are not among them, are its parent's affair.
  void BeChild(std::initializer_list<int> answered);
  // In a child without a loop: SIGTERM ends it.
  void BeChild();

 private:
  void Open(const sigset_t& answered);
  void Close();

  sigset_t before_;
  int fd_ = -1;
};

}  // namespace packetdb::host
