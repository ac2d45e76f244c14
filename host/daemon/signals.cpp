#include "host/daemon/signals.h"

#include <cerrno>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace packetdb::host {

Signals::Signals() : before_(), fd_(-1) {
  sigset_t answered;
  sigemptyset(&answered);
  for (const int signal : {SIGTERM, SIGINT, SIGCHLD, SIGUSR1, SIGUSR2}) {
    sigaddset(&answered, signal);
  }
  sigprocmask(SIG_BLOCK, &answered, &before_);
  fd_ = signalfd(-1, &answered, SFD_NONBLOCK | SFD_CLOEXEC);
  if (fd_ < 0) {
    throw std::system_error(errno, std::generic_category(), "cannot receive signals");
  }
}

Signals::~Signals() { close(fd_); }

std::optional<int> Signals::Next() const {
  signalfd_siginfo info{};
  if (read(fd_, &info, sizeof info) != sizeof info) {
    return std::nullopt;
  }
  return static_cast<int>(info.ssi_signo);
}

void Signals::Release() const { sigprocmask(SIG_SETMASK, &before_, nullptr); }

}  // namespace packetdb::host
