#include "tests/faults/death/tracee.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fmt/format.h>
#include <stdexcept>
#include <sys/ptrace.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr int kNotTraceable = 98;
// The two bytes of the instruction `syscall`, in the order in which a word holds them.
constexpr long kSystemCall = 0x050F;
constexpr long kBreakpoint = 0xCC;
constexpr std::size_t kInstructionPointer = offsetof(user, regs.rip);

int RunTraced(const std::function<void()>& act, const SharedMemory<bool>& returned) {
  if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) return kNotTraceable;
  raise(SIGSTOP);
  act();
  *returned = true;
  for (;;) pause();
}

}  // namespace

OneProcessor::OneProcessor() {
  sched_getaffinity(0, sizeof before_, &before_);
  cpu_set_t here;
  CPU_ZERO(&here);
  CPU_SET(static_cast<unsigned int>(sched_getcpu()), &here);
  sched_setaffinity(0, sizeof here, &here);
}

OneProcessor::~OneProcessor() { sched_setaffinity(0, sizeof before_, &before_); }

Tracee::Tracee(const std::function<void()>& act)
    : child_([&] { return RunTraced(act, returned_); }) {
  WaitForStop();
  ptrace(PTRACE_SETOPTIONS, child_.pid(), nullptr, PTRACE_O_EXITKILL);
}

void Tracee::WaitForStop() {
  int status = 0;
  while (waitpid(child_.pid(), &status, 0) != child_.pid()) {
    if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "waitpid");
  }
  if (WIFSTOPPED(status) && (WSTOPSIG(status) == SIGTRAP || WSTOPSIG(status) == SIGSTOP)) return;
  if (!WIFSTOPPED(status)) child_.Note(status);
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNotTraceable) {
    throw CannotRun("ptrace is not permitted here");
  }
  throw std::runtime_error(fmt::format("the traced child did not get through, status {}", status));
}

bool Tracee::Step() {
  if (Returned()) return false;
  if (ptrace(PTRACE_SINGLESTEP, child_.pid(), nullptr, nullptr) != 0) {
    throw CannotRun("ptrace cannot execute single instructions here");
  }
  WaitForStop();
  LookAhead();
  ++instructions_;
  return !Returned();
}

bool Tracee::StepMany(std::uint64_t steps) {
  for (std::uint64_t i = 0; i < steps; ++i) {
    const bool system_call = at_system_call_;
    const long at = at_;
    if (system_call && i != 0) return true;
    if (!Step()) return false;
    if (system_call) return true;
    if (at_ == at) FinishRepetition();
  }
  return true;
}

void Tracee::LookAhead() {
  at_ = ptrace(PTRACE_PEEKUSER, child_.pid(), kInstructionPointer, nullptr);
  at_system_call_ = FindSystemCall();
}

bool Tracee::FindSystemCall() {
  const auto [known, is_new] = system_calls_.try_emplace(at_, false);
  if (is_new) {
    const long code = ptrace(PTRACE_PEEKTEXT, child_.pid(), at_, nullptr);
    known->second = (code & 0xFFFF) == kSystemCall;
  }
  return known->second;
}

// By a breakpoint behind it.
void Tracee::FinishRepetition() {
  const long code = ptrace(PTRACE_PEEKTEXT, child_.pid(), at_, nullptr);
  const bool has_rex =
      (code >> 8 & 0xF0) == 0x40;  // a prefix between the repetition and its opcode
  const long behind = at_ + (has_rex ? 3 : 2);
  const long there = ptrace(PTRACE_PEEKTEXT, child_.pid(), behind, nullptr);
  ptrace(PTRACE_POKETEXT, child_.pid(), behind, (there & ~0xFFL) | kBreakpoint);
  ptrace(PTRACE_CONT, child_.pid(), nullptr, nullptr);
  WaitForStop();
  ptrace(PTRACE_POKETEXT, child_.pid(), behind, there);
  ptrace(PTRACE_POKEUSER, child_.pid(), kInstructionPointer, behind);
  LookAhead();
}

}  // namespace packetdb::faults
