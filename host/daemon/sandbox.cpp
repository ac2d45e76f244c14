#include "host/daemon/sandbox.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <initializer_list>
#include <seccomp.h>
#include <span>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace packetdb::host {

namespace {

using Names = std::span<const char* const>;

// Memory, time, threads of our own, descriptors that are there already, and the end.
constexpr const char* kEverybody[] = {"brk",
                                      "clock_getres",
                                      "clock_gettime",
                                      "clock_nanosleep",
                                      "close",
                                      "dup",
                                      "exit",
                                      "exit_group",
                                      "fstat",
                                      "futex",
                                      "getcpu",
                                      "getegid",
                                      "geteuid",
                                      "getgid",
                                      "getpid",
                                      "getppid",
                                      "getrandom",
                                      "getrusage",
                                      "gettid",
                                      "gettimeofday",
                                      "getuid",
                                      "lseek",
                                      "madvise",
                                      "membarrier",
                                      "mremap",
                                      "munmap",
                                      "nanosleep",
                                      "newfstatat",
                                      "poll",
                                      "ppoll",
                                      "pread64",
                                      "read",
                                      "readv",
                                      "recvfrom",
                                      "recvmsg",
                                      "restart_syscall",
                                      "rseq",
                                      "rt_sigaction",
                                      "rt_sigprocmask",
                                      "rt_sigreturn",
                                      "sched_getaffinity",
                                      "sched_yield",
                                      "sendto",
                                      "set_robust_list",
                                      "sigaltstack",
                                      "stat",
                                      "statx",
                                      "sysinfo",
                                      "time",
                                      "uname",
                                      "write",
                                      "writev"};

// Journals, their dictionary and sources, all of them open.
constexpr const char* kIntakeToo[] = {
    "clone",      "clone3",    "epoll_create1", "epoll_ctl", "epoll_pwait", "epoll_wait",
    "fallocate",  "fdatasync", "flock",         "fsync",     "ftruncate",   "getsockname",
    "getsockopt", "msync",     "pwrite64",      "pwritev",   "recvmmsg",    "setsockopt"};

// Connections, and journals that are opened for reading.
constexpr const char* kServerToo[] = {
    "accept4",  "access",    "clone",      "clone3",      "faccessat",   "faccessat2",
    "flock",    "fstatfs",   "getdents64", "getpeername", "getsockname", "getsockopt",
    "kill",     "lstat",     "readlink",   "readlinkat",  "seccomp",     "sendmsg",
    "shutdown", "signalfd4", "statfs",     "wait4"};

// Of these, what no connection needs: to fork, and to signal others of its user.
constexpr const char* kServerOnly[] = {"accept4",   "clone",  "clone3", "kill",
                                       "signalfd4", "tgkill", "wait4"};

// Those that could have somebody else signalled, or turn a protection off, are not among them.
constexpr int kFileControls[] = {F_DUPFD_CLOEXEC, F_GETFD,     F_SETFD,     F_GETFL,      F_SETFL,
                                 F_GETLK,         F_OFD_GETLK, F_OFD_SETLK, F_GET_RW_HINT};
// Journals that are being written are marked with it.
constexpr int kIntakeFileControls[] = {F_SET_RW_HINT};
constexpr unsigned long kDeviceControls[] = {TCGETS, FIONREAD, SIOCGIFNAME, SIOCGIFFLAGS};
constexpr int kProcessControls[] = {PR_SET_NAME, PR_SET_NO_NEW_PRIVS, PR_SET_PDEATHSIG,
                                    PR_SET_SECCOMP};

void Check(int result, const char* what) {
  if (result < 0) {
    throw std::runtime_error(
        fmt::format("cannot restrict system calls ({}): {}", what, std::strerror(-result)));
  }
}

void Add(scmp_filter_ctx filter, std::uint32_t action, const char* name,
         std::initializer_list<scmp_arg_cmp> conditions = {}) {
  const int number = seccomp_syscall_resolve_name(name);
  if (number == __NR_SCMP_ERROR) {
    throw std::runtime_error(
        fmt::format("cannot restrict system calls: no call is named {}", name));
  }
  Check(seccomp_rule_add_array(filter, action, number, static_cast<unsigned int>(conditions.size()),
                               conditions.begin()),
        name);
}

scmp_arg_cmp Equal(unsigned int argument, scmp_datum_t value) {
  return {argument, SCMP_CMP_EQ, value, 0};
}

scmp_arg_cmp Masked(unsigned int argument, scmp_datum_t mask, scmp_datum_t value) {
  return {argument, SCMP_CMP_MASKED_EQ, mask, value};
}

void Allow(scmp_filter_ctx filter, Names names) {
  for (const char* name : names) {
    Add(filter, SCMP_ACT_ALLOW, name);
  }
}

// Allows the call for these values of the argument that says what is to be done.
template <class Values>
void AllowOf(scmp_filter_ctx filter, const char* name, unsigned int argument,
             const Values& values) {
  for (const auto value : values) {
    Add(filter, SCMP_ACT_ALLOW, name, {Equal(argument, static_cast<scmp_datum_t>(value))});
  }
}

// Memory that is written is never executed, and what is executed was there from the beginning.
void AllowMemory(scmp_filter_ctx filter) {
  for (const char* name : {"mmap", "mprotect"}) {
    Add(filter, SCMP_ACT_ALLOW, name, {Masked(2, PROT_EXEC, 0)});
  }
}

// abort() sends a signal, to the process itself.
void AllowOwnSignals(scmp_filter_ctx filter) {
  Add(filter, SCMP_ACT_ALLOW, "tgkill", {Equal(0, static_cast<scmp_datum_t>(getpid()))});
}

void AllowReadOnlyOpen(scmp_filter_ctx filter) {
  constexpr scmp_datum_t kChanging = O_ACCMODE | O_CREAT | O_TRUNC | O_APPEND;
  Add(filter, SCMP_ACT_ALLOW, "open", {Masked(1, kChanging, O_RDONLY)});
  Add(filter, SCMP_ACT_ALLOW, "openat", {Masked(2, kChanging, O_RDONLY)});
}

void Fill(scmp_filter_ctx filter, Sandbox sandbox) {
  // Threads that exist already are meant as well: the one that flushes journals.
  Check(seccomp_attr_set(filter, SCMP_FLTATR_CTL_TSYNC, 1), "threads");
  if (sandbox == Sandbox::kConnection) {
    for (const char* name : kServerOnly) {
      Add(filter, SCMP_ACT_ERRNO(EPERM), name);
    }
    return;
  }
  Allow(filter, kEverybody);
  AllowMemory(filter);
  AllowOwnSignals(filter);
  AllowOf(filter, "fcntl", 1, kFileControls);
  AllowOf(filter, "ioctl", 1, kDeviceControls);
  AllowOf(filter, "prlimit64", 0, std::array{0});  // of the process itself
  if (sandbox == Sandbox::kIntake) {
    Allow(filter, kIntakeToo);
    AllowOf(filter, "fcntl", 1, kIntakeFileControls);
  } else {
    Allow(filter, kServerToo);
    AllowOf(filter, "prctl", 0, kProcessControls);
    AllowReadOnlyOpen(filter);
  }
}

// Filters add up, and the strictest decides: that of a connection only takes away.
std::uint32_t DefaultOf(Sandbox sandbox) {
  return sandbox == Sandbox::kConnection ? SCMP_ACT_ALLOW : SCMP_ACT_ERRNO(EPERM);
}

}  // namespace

SandboxFilter::SandboxFilter(Sandbox sandbox) : filter_(seccomp_init(DefaultOf(sandbox))) {
  if (filter_ == nullptr) {
    throw std::runtime_error("cannot restrict system calls: no memory");
  }
  try {
    Fill(filter_, sandbox);
  } catch (...) {
    seccomp_release(filter_);
    throw;
  }
}

SandboxFilter::~SandboxFilter() { seccomp_release(filter_); }

void SandboxFilter::Enter() const { Check(seccomp_load(filter_), "loading"); }

}  // namespace packetdb::host
