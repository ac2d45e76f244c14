#include "host/daemon/signals.h"

#include <cerrno>
#include <initializer_list>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace packetdb::host {

Signals::Signals() : before_(), fd_(-1) {
  sigset_t answered;
  sigemptyset(&answered);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGCHLD, SIGUSR1, SIGUSR2}) {
    sigaddset(&answered, signal);
  }
  sigprocmask(SIG_BLOCK, &answered, &before_);
  std::signal(SIGPIPE, SIG_IGN);  // a reader of our log that is gone must not end us
  std::signal(SIGXFSZ, SIG_IGN);  // nor a limit on the size of files
  fd_ = signalfd(-1, &answered, SFD_NONBLOCK | SFD_CLOEXEC);
  if (fd_ < 0) {
    throw std::system_error(errno, std::generic_category(), "cannot receive signals");
  }
}

Signals::~Signals() {
  if (fd_ >= 0) {
    close(fd_);
  }
}

std::optional<int> Signals::Next() const {
  signalfd_siginfo info{};
  if (read(fd_, &info, sizeof info) != sizeof info) {
    return std::nullopt;
  }
  return static_cast<int>(info.ssi_signo);
}

void Signals::BeChild() {
  for (const int signal : {SIGINT, SIGHUP, SIGUSR1, SIGUSR2}) {
    std::signal(signal, SIG_IGN);
  }
  sigprocmask(SIG_SETMASK, &before_, nullptr);
  close(fd_);
  fd_ = -1;
}

}  // namespace packetdb::host
