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
  // In a child: SIGTERM ends it again. The others are its parent's affair, also where they are sent
  // to all processes of a terminal or a service at once.
  void BeChild();

 private:
  sigset_t before_;
  int fd_;
};

}  // namespace packetdb::host
