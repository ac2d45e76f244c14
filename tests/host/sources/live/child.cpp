#include "tests/host/sources/live/child.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace packetdb::host::test {
namespace {

// Ends with its parent, so that nothing is left of a test that was ended.
pid_t Fork(const std::function<void()>& function) {
  const pid_t child = fork();
  if (child != 0) return child;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  int status = EXIT_SUCCESS;
  try {
    function();
  } catch (...) {
    status = EXIT_FAILURE;
  }
  _exit(status);
}

void Wait(pid_t child) {
  while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

std::string ReadAll(int fd) {
  std::string text;
  char buffer[256];
  for (ssize_t size = 0; (size = read(fd, buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<std::size_t>(size));
  }
  return text;
}

}  // namespace

std::string InChild(const std::function<std::string()>& function) {
  int ends[2];
  if (pipe(ends) != 0) return "no pipe";
  const pid_t child = Fork([&] {
    const std::string text = function() + "\n";
    if (write(ends[1], text.data(), text.size()) < 0) std::abort();
  });
  close(ends[1]);
  std::string text = ReadAll(ends[0]);
  close(ends[0]);
  Wait(child);
  if (text.empty()) return "died";
  text.pop_back();
  return text;
}

Child::Child(const std::function<void()>& function) : pid_(Fork(function)) {}

Child::~Child() {
  if (pid_ < 0) return;
  kill(pid_, SIGKILL);
  Wait(pid_);
}

void Child::Signal(int signal) const { kill(pid_, signal); }

bool Child::IsRunning() {
  if (pid_ >= 0 && waitpid(pid_, nullptr, WNOHANG) == pid_) pid_ = -1;
  return pid_ >= 0;
}

void Child::Join() {
  if (pid_ >= 0) Wait(std::exchange(pid_, -1));
}

// poll() refuses more descriptors than the limit, so a few are allowed, and those are taken: the
// standard ones, and this.
void OpenNothingMore() {
  while (dup(STDERR_FILENO) >= 0 && dup(STDERR_FILENO) < 8) {
  }
  const rlimit limit = {8, 8};
  setrlimit(RLIMIT_NOFILE, &limit);
}

void GiveUpCapabilities() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct none[2] = {};
  syscall(SYS_capset, &header, none);
}

}  // namespace packetdb::host::test
