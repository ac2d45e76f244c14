#include "host/daemon/child_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "host/daemon/exit_code.h"
#include "host/log/log.h"

namespace packetdb::host {

namespace {

constexpr char kReady = '+';
constexpr char kNotStarted = '-';

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// All that a child says: it ends its end of the pipe with it.
std::string ReadReport(int fd) {
  std::string report;
  std::array<char, 4096> part;
  for (;;) {
    const ssize_t count = read(fd, part.data(), part.size());
    if (count > 0) {
      report.append(part.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return report;
    }
  }
}

int RunWork(const std::string& name, const ChildProcess::Work& work, StartReport& report) {
  try {
    return work(report);
  } catch (const std::exception& error) {
    if (report.made()) {
      WriteLog(kFailureLevel, fmt::format("{}: {}", name, error.what()));
    } else {
      report.Failed(error.what());
    }
    return kExitFailed;
  }
}

}  // namespace

void StartReport::Ready() { Write(std::string(1, kReady)); }

void StartReport::Failed(const std::string& reason) { Write(kNotStarted + reason); }

// A pipe takes far more than any reason has at once.
void StartReport::Write(const std::string& text) {
  if (write(pipe_.get(), text.data(), text.size()) < 0) {
    WriteLog(kFailureLevel,
             fmt::format("cannot report to the supervisor: {}", std::strerror(errno)));
  }
  pipe_.Close();
}

ChildProcess::ChildProcess(std::string name, const char* shown, const Work& work)
    : name_(std::move(name)) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    Fail("cannot start " + name_);
  }
  report_ = SocketDescriptor(ends[0]);
  SocketDescriptor childs_end(ends[1]);
  const pid_t parent = getpid();
  pid_ = fork();
  if (pid_ == 0) {
    BeChild(parent, shown, std::move(childs_end), work);
  }
  if (pid_ < 0) {
    Fail("cannot start " + name_);
  }
  // The C library declares its function for C only.
  pidfd_ = SocketDescriptor(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)));
  if (!pidfd_.valid()) {
    kill(pid_, SIGKILL);
    Reap(0);
    Fail("cannot watch " + name_);
  }
}

void ChildProcess::BeChild(pid_t parent, const char* shown, SocketDescriptor report,
                           const Work& work) const {
  prctl(PR_SET_NAME, shown);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) {
    _exit(kExitFailed);  // it died before we asked to be told
  }
  StartReport start(std::move(report));
  _exit(RunWork(name_, work, start));  // the parent's objects are the parent's to clean up
}

ChildProcess::~ChildProcess() {
  if (!ended_) {
    Signal(SIGKILL);
    Reap(0);
  }
}

std::optional<std::string> ChildProcess::AwaitReady(const std::function<bool()>& given_up) {
  constexpr int kLook = 100;  // milliseconds
  pollfd waited{report_.get(), POLLIN, 0};
  while (poll(&waited, 1, kLook) <= 0) {
    if (given_up()) {
      Signal(SIGKILL);
      Reap(0);
      return fmt::format("{} was told to stop before it was ready", name_);
    }
  }
  const std::string report = ReadReport(report_.get());
  report_.Close();
  if (!report.empty() && report.front() == kReady) {
    return std::nullopt;
  }
  Reap(0);
  return report.empty() ? fmt::format("{} {}", name_, EndText()) : report.substr(1);
}

void ChildProcess::Signal(int signal) const {
  if (!ended_) {
    kill(pid_, signal);
  }
}

bool ChildProcess::HasEnded() {
  if (!ended_) {
    Reap(WNOHANG);
  }
  return ended_;
}

bool ChildProcess::AwaitEnd(std::chrono::milliseconds patience,
                            const std::function<void()>& meanwhile) {
  constexpr std::chrono::milliseconds kLook(100);
  pollfd waited{pidfd_.get(), POLLIN, 0};
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!HasEnded()) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      Signal(SIGKILL);
      Reap(0);
      return false;
    }
    poll(&waited, 1, static_cast<int>((meanwhile ? std::min(left, kLook) : left).count()));
    if (meanwhile) meanwhile();
  }
  return true;
}

void ChildProcess::Reap(int options) {
  pid_t reaped = 0;
  do {
    reaped = waitpid(pid_, &status_, options);
  } while (reaped < 0 && errno == EINTR);
  ended_ = ended_ || reaped != 0;
}

std::string ChildProcess::EndText() const {
  if (WIFSIGNALED(status_)) {
    return fmt::format("was killed by signal {} ({})", WTERMSIG(status_),
                       strsignal(WTERMSIG(status_)));
  }
  return fmt::format("ended with status {}", WEXITSTATUS(status_));
}

}  // namespace packetdb::host
