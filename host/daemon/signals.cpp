#include "host/daemon/signals.h"

#include <cerrno>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace packetdb::host {

namespace {

sigset_t SetOf(std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : signals) {
    sigaddset(&set, signal);
  }
  return set;
}

}  // namespace

int HandOverSignal() { return SIGRTMIN; }

Signals::Signals(std::initializer_list<int> answered) : before_() {
  const sigset_t set = SetOf(answered);
  sigprocmask(SIG_BLOCK, &set, &before_);
  std::signal(SIGPIPE, SIG_IGN);  // a reader of our log that is gone must not end us
  std::signal(SIGXFSZ, SIG_IGN);  // nor a limit on the size of files
  Open(set);
}

Signals::~Signals() { Close(); }

void Signals::Open(const sigset_t& answered) {
  fd_ = signalfd(-1, &answered, SFD_NONBLOCK | SFD_CLOEXEC);
  if (fd_ < 0) {
    throw std::system_error(errno, std::generic_category(), "cannot receive signals");
  }
}

void Signals::Close() {
  if (fd_ >= 0) {
    close(fd_);
    fd_ = -1;
  }
}

std::optional<int> Signals::Next() const {
  signalfd_siginfo info{};
  if (read(fd_, &info, sizeof info) != sizeof info) {
    return std::nullopt;
  }
  return static_cast<int>(info.ssi_signo);
}

// What its parent answers stays blocked until it is ignored or answered here, so that a signal that
// comes now is not lost.
void Signals::BeChild(std::initializer_list<int> answered) {
  for (const int signal : {SIGINT, SIGHUP, SIGUSR1, SIGUSR2}) {
    std::signal(signal, SIG_IGN);
  }
  const sigset_t set = SetOf(answered);
  sigset_t all = before_;
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    if (sigismember(&set, signal) == 1) {
      sigaddset(&all, signal);
    }
  }
  sigprocmask(SIG_SETMASK, &all, nullptr);
  Close();
  Open(set);
}

void Signals::BeChild() {
  for (const int signal : {SIGINT, SIGHUP, SIGUSR1, SIGUSR2}) {
    std::signal(signal, SIG_IGN);
  }
  sigprocmask(SIG_SETMASK, &before_, nullptr);
  Close();
}

}  // namespace packetdb::host
