#include "tests/faults/power/process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <fmt/format.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr int kNotFound = 127;

[[noreturn]] void RunAndExit(const std::function<void()>& act, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);  // it has died already
  try {
    act();
  } catch (const std::exception& error) {
    fmt::print(stderr, "failed: {}\n", error.what());
    _exit(1);
  }
  _exit(0);
}

pid_t Fork(const std::function<void()>& act) {
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
  if (pid == 0) RunAndExit(act, parent);
  return pid;
}

int WaitFor(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return 0;
  }
  return status;
}

[[noreturn]] void Execute(const std::vector<std::string>& words) {
  const int nothing = open("/dev/null", O_RDWR);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nothing, stream);
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  // Where those of the superuser are, which are not in everybody's PATH.
  setenv("PATH", "/usr/sbin:/sbin:/usr/bin:/bin", 1);
  execvp(arguments.front(), arguments.data());
  _exit(kNotFound);
}

}  // namespace

Child::Child(const std::function<void()>& act) : pid_(Fork(act)) {}

Child::~Child() { Kill(); }

void Child::Join(const std::string& what) {
  const int status = WaitFor(pid_);
  pid_ = -1;
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
  throw std::runtime_error(fmt::format("{} did not get through, status {:#x}", what, status));
}

void Child::Kill() {
  if (pid_ < 0) return;
  kill(pid_, SIGKILL);
  WaitFor(pid_);
  pid_ = -1;
}

void RunCommand(const std::vector<std::string>& words) {
  const int status = WaitFor(Fork([&] { Execute(words); }));
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNotFound) {
    throw CannotRun(words.front() + " is not installed");
  }
  if (status != 0) throw std::runtime_error(fmt::format("{} failed", fmt::join(words, " ")));
}

}  // namespace packetdb::faults
