#include "tests/faults/limits/verdict.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fmt/format.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace packetdb::faults {
namespace {

constexpr std::uint64_t kPrinted = 10;  // of one trial

struct Counts {
  std::uint64_t looked_at = 0;
  std::uint64_t broken = 0;
};

pid_t Fork() {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error(fmt::format("fork: {}", std::strerror(errno)));
  return child;
}

int Await(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) throw std::runtime_error(fmt::format("waitpid: {}", std::strerror(errno)));
  }
  return status;
}

// A file of the child's dying memory would fill the folder that it runs in.
void LeaveNoCore() {
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
}

[[noreturn]] void RunInChild(const Trial& trial, int answer) {
  LeaveNoCore();
  alarm(kTrialSeconds);
  Verdict verdict;
  try {
    trial(verdict);
  } catch (const std::exception& error) {
    verdict.Require(false, fmt::format("nothing is thrown, but: {}", error.what()));
  }
  const Counts counts = {verdict.looked_at(), verdict.broken()};
  std::fflush(nullptr);
  // Less than a pipe holds, so it is written whole or the parent hears nothing.
  _exit(write(answer, &counts, sizeof counts) == sizeof counts ? 0 : 1);
}

}  // namespace

void Verdict::Require(bool kept, const std::string& promise) {
  ++looked_at_;
  if (kept) return;
  ++broken_;
  if (broken_ <= kPrinted) fmt::print("violated: {}\n", promise);
  if (broken_ == kPrinted) fmt::print("violated: what follows is counted only\n");
}

void Verdict::Add(std::uint64_t looked_at, std::uint64_t broken) {
  looked_at_ += looked_at;
  broken_ += broken;
}

void RunTrial(const std::string& name, const Trial& trial, Verdict* verdict) {
  int ends[2] = {};
  if (pipe(ends) != 0) throw std::runtime_error(fmt::format("pipe: {}", std::strerror(errno)));
  const pid_t child = Fork();
  if (child == 0) {
    close(ends[0]);
    RunInChild(trial, ends[1]);
  }
  close(ends[1]);
  Counts counts;
  const bool answered = read(ends[0], &counts, sizeof counts) == sizeof counts;
  close(ends[0]);
  const int status = Await(child);
  if (answered) verdict->Add(counts.looked_at, counts.broken);
  if (answered && counts.broken != 0) fmt::print("  in {}\n", name);
  const std::string end = WIFSIGNALED(status) ? strsignal(WTERMSIG(status)) : "an early exit";
  verdict->Require(answered, fmt::format("{}: the process lives, but it ended by: {}", name, end));
}

int SignalOf(const std::function<void()>& act) {
  const pid_t child = Fork();
  if (child == 0) {
    LeaveNoCore();
    alarm(kTrialSeconds);
    act();
    _exit(0);
  }
  const int status = Await(child);
  return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

}  // namespace packetdb::faults
