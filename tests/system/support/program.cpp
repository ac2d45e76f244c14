#include "tests/system/support/program.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "tests/system/support/eventually.h"
#include "tests/system/support/sanitizer.h"

namespace packetdb::host::test {

namespace {

constexpr int kCouldNotStart = 127;

int Checked(int result, const char* what) {
  if (result < 0) {
    throw std::system_error(errno, std::generic_category(), what);
  }
  return result;
}

// A file without a name: its writer never waits for a reader.
SocketDescriptor Keep(const char* name) {
  return SocketDescriptor(Checked(memfd_create(name, MFD_CLOEXEC), name));
}

std::string ReadAll(int fd) {
  std::string text;
  std::array<char, 65536> part;
  for (;;) {
    const ssize_t got = pread(fd, part.data(), part.size(), static_cast<off_t>(text.size()));
    Checked(static_cast<int>(got), "reading what a program printed");
    if (got == 0) {
      return text;
    }
    text.append(part.data(), static_cast<std::size_t>(got));
  }
}

// Without these in the set that an exec may grant, root's exec does not get them back.
bool DropOverrides() {
  return geteuid() != 0 || (prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE) == 0 &&
                            prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH) == 0);
}

// Moved out of the way first, so that none is overwritten before it was copied.
void PassOn(const std::vector<int>& descriptors) {
  constexpr int kAway = 500;
  constexpr int kFirst = 3;
  for (std::size_t i = 0; i < descriptors.size(); ++i) {
    dup3(descriptors[i], kAway + static_cast<int>(i), O_CLOEXEC);
  }
  for (std::size_t i = 0; i < descriptors.size(); ++i) {
    dup2(kAway + static_cast<int>(i), kFirst + static_cast<int>(i));
  }
}

// In the child: only what is safe between fork and exec.
[[noreturn]] void BecomeProgram(char** arguments, const std::array<int, 3>& standard,
                                const ProgramOptions& options) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  for (int i = 0; i < 3; ++i) {
    dup2(standard[static_cast<std::size_t>(i)], i);
  }
  PassOn(options.descriptors);
  if (!options.obeys_modes || DropOverrides()) {
    execv(arguments[0], arguments);
  }
  _exit(kCouldNotStart);
}

}  // namespace

Program::Program(const Arguments& arguments, const ProgramOptions& options)
    : out_(Keep("stdout")), err_(Keep("stderr")) {
  std::vector<char*> pointers;
  for (const std::string& argument : arguments) {
    pointers.push_back(const_cast<char*>(argument.c_str()));
  }
  pointers.push_back(nullptr);
  const SocketDescriptor nothing(Checked(open("/dev/null", O_RDONLY | O_CLOEXEC), "/dev/null"));
  const std::array<int, 3> standard = {options.input < 0 ? nothing.get() : options.input,
                                       options.output < 0 ? out_.get() : options.output,
                                       err_.get()};
  pid_ = Checked(fork(), "starting a program");
  if (pid_ == 0) {
    BecomeProgram(pointers.data(), standard, options);
  }
  setpgid(pid_, pid_);  // whichever of the two comes first
}

Program::~Program() {
  kill(-pid_, SIGKILL);
  if (!ended_) {
    Reap(0);
  }
}

void Program::Signal(int signal) const { Checked(kill(pid_, signal), "sending a signal"); }

void Program::SignalAll(int signal) const { kill(-pid_, signal); }

void Program::Reap(int options) { ended_ = waitpid(pid_, &wait_status_, options) == pid_; }

bool Program::HasEnded() {
  if (!ended_) {
    Reap(WNOHANG);
  }
  return ended_;
}

Outcome Program::Wait() {
  if (!Eventually([this] { return HasEnded(); })) {
    ADD_FAILURE() << "a program does not end; it said: " << Err();
    Signal(SIGKILL);
    Reap(0);
  }
  Outcome outcome;
  outcome.status = WIFEXITED(wait_status_) ? WEXITSTATUS(wait_status_) : -1;
  outcome.signal = WIFSIGNALED(wait_status_) ? WTERMSIG(wait_status_) : 0;
  outcome.out = Out();
  outcome.err = Err();
  return outcome;
}

std::string Program::Out() const { return ReadAll(out_.get()); }

std::string Program::Err() const { return ReadAll(err_.get()); }

Program::Arguments Command(const Program::Arguments& arguments) {
  Program::Arguments all = {PACKETDB_COMMAND};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return all;
}

std::string DaemonPath() { return PACKETDB_DAEMON; }

Program::Arguments DaemonCommand(const Program::Arguments& arguments) {
  Program::Arguments all;
  if (PACKETDB_ADDRESS_SANITIZER) {
    // At the end its leak checker would look into the process, which nobody may.
    all = {"/usr/bin/env", "ASAN_OPTIONS=detect_leaks=0"};
  }
  all.push_back(DaemonPath());
  all.insert(all.end(), arguments.begin(), arguments.end());
  return all;
}

Outcome RunCommand(const Program::Arguments& arguments, const ProgramOptions& options) {
  return Program(Command(arguments), options).Wait();
}

std::string Sample(const std::string& name) { return PACKETDB_SAMPLES "/" + name; }

}  // namespace packetdb::host::test
