#include "tests/host/daemon/forked.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace packetdb::host::test {

namespace {

[[noreturn]] void Work(int report, const std::function<std::string()>& work) {
  std::string text;
  try {
    text = work();
  } catch (const std::exception& error) {
    text = std::string("threw: ") + error.what();
  }
  _exit(write(report, text.data(), text.size()) < 0 ? 1 : 0);
}

}  // namespace

std::string Forked(const std::function<std::string()>& work) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  // Beyond the numbers that the work may want for descriptors of its own.
  constexpr int kFar = 200;
  const pid_t child = fork();
  if (child == 0) {
    Work(fcntl(ends[1], F_DUPFD, kFar), work);
  }
  close(ends[1]);
  std::string text;
  std::array<char, 4096> part;
  for (ssize_t got = 1; got > 0;) {
    got = read(ends[0], part.data(), part.size());
    text.append(part.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
  }
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? "died: " + std::string(strsignal(WTERMSIG(status))) : text;
}

std::string Outcome(long result) { return result >= 0 ? "done" : strerrorname_np(errno); }

}  // namespace packetdb::host::test
