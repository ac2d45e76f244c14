#include "tests/faults/death/child.h"

#include <cerrno>
#include <csignal>
#include <exception>
#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace packetdb::faults {
namespace {

constexpr int kThrew = 99;

int Act(const std::function<int()>& act) {
  try {
    return act();
  } catch (const std::exception& error) {
    fmt::print(stderr, "child: {}\n", error.what());
    return kThrew;
  }
}

}  // namespace

Child::Child(const std::function<int()>& act) : pid_(fork()) {
  if (pid_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (pid_ > 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  _exit(Act(act));
}

Child::~Child() { Kill(); }

void Child::Note(int status) {
  ended_ = true;
  outcome_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

bool Child::IsRunning() {
  int status = 0;
  if (!ended_ && waitpid(pid_, &status, WNOHANG) == pid_) Note(status);
  return !ended_;
}

void Child::Signal(int signal) const {
  if (!ended_) kill(pid_, signal);
}

bool Child::Kill() {
  if (ended_) return false;
  Signal(SIGKILL);
  return Wait() == -SIGKILL;
}

int Child::Wait() {
  int status = 0;
  while (!ended_) {
    const pid_t waited = waitpid(pid_, &status, 0);
    if (waited == pid_) {
      Note(status);
    } else if (errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "waitpid");
    }
  }
  return outcome_;
}

}  // namespace packetdb::faults
