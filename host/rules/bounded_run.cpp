#include "host/rules/bounded_run.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "host/log/escape.h"

namespace packetdb::host {
namespace {

constexpr int kCannotRun = 127;
constexpr std::size_t kShownError = 400;  // bytes of what it says

// Closes what it holds.
struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

[[noreturn]] void Fail(const char* what) {
  throw RunError(std::string(what) + ": " + std::strerror(errno));
}

// Without a name, and without a reader that a writer would wait for.
File MakeOutput() {
  const int fd = memfd_create("output", MFD_CLOEXEC);
  File file(fd < 0 ? nullptr : fdopen(fd, "r+"));
  if (!file) Fail("cannot keep a program's output");
  return file;
}

std::string Contents(std::FILE* file) {
  std::string text;
  std::array<char, 65536> part{};
  std::rewind(file);
  while (const std::size_t got = std::fread(part.data(), 1, part.size(), file)) {
    text.append(part.data(), got);
  }
  return text;
}

// Whoever looks for programs as a user may not have these folders.
std::string SearchPath() {
  const char* const path = std::getenv("PATH");
  return (path == nullptr ? std::string() : std::string(path) + ":") + "/usr/sbin:/sbin";
}

class Run {
 public:
  Run(const std::vector<std::string>& arguments, std::size_t most_bytes);
  ~Run();
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  // False when it does not end in time.
  bool AwaitEnd(std::chrono::milliseconds patience);
  int status() const { return status_; }
  std::string Out() const { return Contents(out_.get()); }
  std::string Err() const { return Contents(err_.get()); }

 private:
  [[noreturn]] void Become(char* const* arguments, std::size_t most_bytes) const;

  File out_ = MakeOutput();
  File err_ = MakeOutput();
  std::string path_ = SearchPath();
  pid_t pid_ = -1;
  int status_ = 0;
};

// Whatever was arranged for our own signals is not the program's business: a file that grows too
// large ends it.
void Run::Become(char* const* arguments, std::size_t most_bytes) const {
  std::signal(SIGXFSZ, SIG_DFL);
  std::signal(SIGPIPE, SIG_DFL);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit limit = {most_bytes, most_bytes};
  const bool is_set = setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
                      dup2(fileno(out_.get()), STDOUT_FILENO) >= 0 &&
                      dup2(fileno(err_.get()), STDERR_FILENO) >= 0;
  if (is_set && setenv("PATH", path_.c_str(), 1) == 0) execvp(arguments[0], arguments);
  std::fprintf(stderr, "%s", std::strerror(errno));
  _exit(kCannotRun);
}

Run::Run(const std::vector<std::string>& arguments, std::size_t most_bytes) {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments)
    pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  std::fflush(nullptr);  // or the child would have it to print as well
  pid_ = fork();
  if (pid_ < 0) Fail("cannot start a program");
  if (pid_ == 0) Become(pointers.data(), most_bytes);
}

Run::~Run() {
  if (pid_ < 0) return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

bool Run::AwaitEnd(std::chrono::milliseconds patience) {
  const int pidfd = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
  if (pidfd < 0) Fail("cannot wait for a program");
  pollfd end = {pidfd, POLLIN, 0};
  const int ready = poll(&end, 1, static_cast<int>(patience.count()));
  close(pidfd);
  if (ready <= 0) return false;
  waitpid(pid_, &status_, 0);
  pid_ = -1;
  return true;
}

std::string FirstLine(const std::string& text) {
  return EscapeForLog(text.substr(0, std::min(text.find('\n'), kShownError)));
}

std::string WhyItFailed(const Run& run, std::size_t most_bytes) {
  const int status = run.status();
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) {
    return "printed more than " + std::to_string(most_bytes) + " bytes";
  }
  if (WIFSIGNALED(status)) return "was killed by signal " + std::to_string(WTERMSIG(status));
  const std::string said = FirstLine(run.Err());
  if (WEXITSTATUS(status) == kCannotRun) return "cannot be run: " + said;
  return "ended with status " + std::to_string(WEXITSTATUS(status)) +
         (said.empty() ? "" : ": " + said);
}

}  // namespace

std::string RunBounded(const std::vector<std::string>& arguments, const RunLimits& limits) {
  Run run(arguments, limits.output_bytes);
  const std::string& program = arguments.front();
  if (!run.AwaitEnd(limits.patience)) {
    throw RunError(program + " did not end within " + std::to_string(limits.patience.count()) +
                   " ms");
  }
  if (run.status() != 0) throw RunError(program + " " + WhyItFailed(run, limits.output_bytes));
  return run.Out();
}

}  // namespace packetdb::host
