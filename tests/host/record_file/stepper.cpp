#include "tests/host/record_file/stepper.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace packetdb::host {
namespace {

constexpr int kNotTraceable = 3;

// A flag that the child sets and the parent sees.
class SharedFlag {
 public:
  SharedFlag()
      : flag_(static_cast<std::atomic<bool>*>(mmap(nullptr, sizeof(std::atomic<bool>),
                                                   PROT_READ | PROT_WRITE,
                                                   MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
  ~SharedFlag() { munmap(flag_, sizeof *flag_); }
  SharedFlag(const SharedFlag&) = delete;
  SharedFlag& operator=(const SharedFlag&) = delete;

  void Set() { flag_->store(true); }
  bool IsSet() const { return flag_->load(); }

 private:
  std::atomic<bool>* flag_;
};

[[noreturn]] void RunTraced(const std::function<void()>& act, SharedFlag& returned) {
  if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(kNotTraceable);
  raise(SIGSTOP);
  act();
  returned.Set();
  for (;;) pause();
}

bool WaitForStop(pid_t child) {
  int status = 0;
  if (waitpid(child, &status, 0) != child) {
    ADD_FAILURE() << "cannot wait for the child: " << std::strerror(errno);
  } else if (WIFEXITED(status) && WEXITSTATUS(status) == kNotTraceable) {
    ADD_FAILURE() << "ptrace is not permitted here, and nothing can be said without it";
  } else if (!WIFSTOPPED(status)) {
    ADD_FAILURE() << "the child died, status " << status;
  } else if (WSTOPSIG(status) != SIGTRAP && WSTOPSIG(status) != SIGSTOP) {
    ADD_FAILURE() << "the child was hit by signal " << WSTOPSIG(status);
  } else {
    return true;
  }
  return false;
}

bool Go(pid_t child, Step step) {
  const auto request = step == Step::kInstruction ? PTRACE_SINGLESTEP : PTRACE_SYSCALL;
  if (ptrace(request, child, nullptr, nullptr) != 0) {
    ADD_FAILURE() << "ptrace is not permitted here: " << std::strerror(errno);
    return false;
  }
  return WaitForStop(child);
}

void Kill(pid_t child) {
  if (kill(child, SIGKILL) == 0) waitpid(child, nullptr, 0);
}

}  // namespace

int StepThrough(Step step, const std::function<void()>& act,
                const std::function<void(bool returned)>& look) {
  SharedFlag returned;
  const pid_t child = fork();
  if (child == 0) RunTraced(act, returned);
  if (child < 0 || !WaitForStop(child)) return -1;
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_EXITKILL);
  int stops = 0;
  while (!returned.IsSet()) {
    if (!Go(child, step)) {
      Kill(child);
      return -1;
    }
    ++stops;
    look(returned.IsSet());
  }
  Kill(child);
  return stops;
}

}  // namespace packetdb::host
