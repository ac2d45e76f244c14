#include "tests/faults/power/traced_child.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fmt/format.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr int kNotTraceable = 3;

constexpr std::array kChanging = {
    SYS_openat, SYS_write,     SYS_pwrite64,  SYS_fallocate,      SYS_ftruncate, SYS_fsync,
    SYS_rename, SYS_renameat,  SYS_renameat2, SYS_link,           SYS_linkat,    SYS_unlink,
    SYS_mkdir,  SYS_unlinkat,  SYS_fdatasync, SYS_fchmod,         SYS_msync,     SYS_munmap,
    SYS_close,  SYS_symlinkat, SYS_truncate,  SYS_sync_file_range};

bool IsChanging(long call) {
  return std::find(kChanging.begin(), kChanging.end(), call) != kChanging.end();
}

bool IsFlush(long call) { return call == SYS_fsync || call == SYS_fdatasync; }

[[noreturn]] void RunTraced(const std::function<void()>& act, volatile bool* returned) {
  if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(kNotTraceable);
  raise(SIGSTOP);
  try {
    act();
  } catch (const std::exception& error) {
    fmt::print(stderr, "failed: {}\n", error.what());
    _exit(1);
  }
  *returned = true;
  for (;;) pause();
}

bool* SharedFlag() {
  void* const memory =
      mmap(nullptr, sizeof(bool), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::runtime_error("no memory to share");
  return static_cast<bool*>(memory);
}

void WaitForStop(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNotTraceable) {
    throw CannotRun("ptrace is not permitted");
  }
  if (!WIFSTOPPED(status)) {
    throw std::runtime_error(fmt::format("the writer did not get through, status {:#x}", status));
  }
}

}  // namespace

TracedChild::TracedChild(const std::function<void()>& act, Calls calls, Flushing flushing)
    : calls_(calls), flushing_(flushing), returned_(SharedFlag()), pid_(fork()) {
  if (pid_ == 0) RunTraced(act, returned_);
  if (pid_ < 0) throw std::runtime_error("no process");
  WaitForStop(pid_);
  if (ptrace(PTRACE_SETOPTIONS, pid_, nullptr, PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD) != 0) {
    throw CannotRun("ptrace does not do what it should");
  }
}

bool TracedChild::RunCalls(int count) {
  while (count > 0) {
    if (ptrace(PTRACE_SYSCALL, pid_, nullptr, nullptr) != 0) {
      throw std::runtime_error("the writer cannot be traced");
    }
    WaitForStop(pid_);
    if (*static_cast<volatile bool*>(returned_)) return false;
    count -= IsBehindCall() ? 1 : 0;
  }
  return true;
}

bool TracedChild::IsBehindCall() {
  __ptrace_syscall_info info = {};
  if (ptrace(PTRACE_GET_SYSCALL_INFO, pid_, sizeof info, &info) <= 0) {
    throw CannotRun("the kernel does not tell about system calls");
  }
  if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
    call_ = static_cast<long>(info.entry.nr);
    forgets_ = flushing_ == Flushing::kForgotten && IsFlush(call_);
    // No call has this number, so none is made.
    if (forgets_) SetRegister(&user_regs_struct::orig_rax, ~0ULL);
    return false;
  }
  if (info.op != PTRACE_SYSCALL_INFO_EXIT) return false;
  if (forgets_) SetRegister(&user_regs_struct::rax, 0);
  return calls_ == Calls::kEvery || IsChanging(call_);
}

void TracedChild::SetRegister(unsigned long long user_regs_struct::*which,
                              unsigned long long value) const {
  user_regs_struct registers = {};
  ptrace(PTRACE_GETREGS, pid_, nullptr, &registers);
  registers.*which = value;
  ptrace(PTRACE_SETREGS, pid_, nullptr, &registers);
}

void TracedChild::Kill() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);
  while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
  munmap(returned_, sizeof *returned_);
}

}  // namespace packetdb::faults
