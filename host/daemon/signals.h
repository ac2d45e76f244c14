// Signals as events of the main loop.
#pragma once

#include <csignal>
#include <optional>

namespace packetdb::host {

class Signals {
 public:
  // Blocks the signals that packetdbd answers to; from then on they wait in fd(). Throws
  // std::system_error.
  Signals();
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  // For poll().
  int fd() const { return fd_; }
  // The next signal that waits; never blocks.
  std::optional<int> Next() const;
  // Gives a child the signals back as they were before.
  void Release() const;

 private:
  sigset_t before_;
  int fd_;
};

}  // namespace packetdb::host
