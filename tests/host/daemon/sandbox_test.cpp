// What is taken from the processes that read what strangers wrote.
#include "host/daemon/sandbox.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <memory>
#include <ostream>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/bus/socket_descriptor.h"
#include "tests/host/daemon/forked.h"

namespace packetdb::host {
namespace {

using test::Forked;
using test::Outcome;

// Each of the processes, as it is when it reads its first byte.
void Enter(Sandbox sandbox) {
  if (sandbox == Sandbox::kConnection) {
    const SandboxFilter connection(Sandbox::kConnection);
    SandboxFilter(Sandbox::kServer).Enter();
    connection.Enter();
  } else {
    SandboxFilter(sandbox).Enter();
  }
}

// What comes of an attempt in the sandbox.
std::string In(Sandbox sandbox, const std::function<long()>& attempt) {
  return Forked([&] {
    Enter(sandbox);
    return Outcome(attempt());
  });
}

struct Attempt {
  const char* name;
  std::function<long()> call;
};

void PrintTo(const Attempt& attempt, std::ostream* out) { *out << attempt.name; }

long TryExecute() {
  char* const arguments[] = {const_cast<char*>("/bin/true"), nullptr};
  return execv(arguments[0], arguments);
}

long TryConnect() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  return connect(STDIN_FILENO, reinterpret_cast<sockaddr*>(&address), sizeof address);
}

long TryBind() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  return bind(STDIN_FILENO, reinterpret_cast<sockaddr*>(&address), sizeof address);
}

long TryReadParent() {
  char byte = 0;
  const iovec here{&byte, 1};
  return process_vm_readv(getppid(), &here, 1, &here, 1, 0);
}

std::vector<Attempt> ForbiddenToAll() {
  return {
      {"Execute", TryExecute},
      {"ExecuteDescriptor", [] { return syscall(SYS_execveat, 0, "", nullptr, nullptr, 0); }},
      {"InternetSocket", [] { return socket(AF_INET, SOCK_STREAM, 0); }},
      {"UnixSocket", [] { return socket(AF_UNIX, SOCK_STREAM, 0); }},
      {"NetlinkSocket", [] { return socket(AF_NETLINK, SOCK_RAW, 0); }},
      {"Connect", TryConnect},
      {"Bind", TryBind},
      {"Listen", [] { return listen(STDIN_FILENO, 1); }},
      {"OpenForWriting", [] { return open("/dev/null", O_WRONLY); }},
      {"OpenForBoth", [] { return open("/dev/null", O_RDWR); }},
      {"OpenAndTruncate", [] { return open("/dev/null", O_RDONLY | O_TRUNC); }},
      {"Create", [] { return open("/tmp/never made", O_RDONLY | O_CREAT, 0600); }},
      {"CreateOldWay", [] { return creat("/tmp/never made", 0600); }},
      {"OpenNewWay", [] { return syscall(SYS_openat2, AT_FDCWD, "/dev/null", nullptr, 0); }},
      {"Remove", [] { return unlink("/tmp/never made"); }},
      {"Rename", [] { return rename("/tmp/never made", "/tmp/never made either"); }},
      {"Link", [] { return link("/dev/null", "/tmp/never made"); }},
      {"MakeDirectory", [] { return mkdir("/tmp/never made", 0700); }},
      {"ChangeMode", [] { return chmod("/tmp/never made", 0777); }},
      {"Trace", [] { return ptrace(PTRACE_ATTACH, getppid(), 0, 0); }},
      {"ReadMemoryOfOthers", TryReadParent},
      {"TakeDescriptorsOfOthers", [] { return syscall(SYS_pidfd_getfd, 0, 0, 0); }},
      {"LimitOthers", [] { return prlimit(getppid(), RLIMIT_CORE, nullptr, nullptr); }},
      {"OwnSignalsToOthers", [] { return fcntl(STDIN_FILENO, F_SETOWN, getppid()); }},
      {"BecomeAnother", [] { return setuid(65534); }},
      {"Unshare", [] { return syscall(SYS_unshare, 0x10000000); }},
      {"LoadProgram", [] { return syscall(SYS_bpf, 0, nullptr, 0); }},
  };
}

class ForbiddenToAllTest : public testing::TestWithParam<Attempt> {};

TEST_P(ForbiddenToAllTest, IsNotPermitted) {
  for (const Sandbox sandbox : {Sandbox::kIntake, Sandbox::kServer, Sandbox::kConnection}) {
    EXPECT_EQ(In(sandbox, GetParam().call), "EPERM") << static_cast<int>(sandbox);
  }
}

INSTANTIATE_TEST_SUITE_P(Attempts, ForbiddenToAllTest, testing::ValuesIn(ForbiddenToAll()),
                         [](const auto& row) { return row.param.name; });

long OpenForReading() { return open("/dev/null", O_RDONLY); }

TEST(SandboxTest, IntakeOpensNothing) { EXPECT_EQ(In(Sandbox::kIntake, OpenForReading), "EPERM"); }

// Record files mark the inode that they write to.
TEST(SandboxTest, IntakeMarksItsFiles) {
  const SocketDescriptor file(memfd_create("journal", MFD_CLOEXEC));
  ASSERT_TRUE(file.valid());
  std::uint64_t hint = 0;
  ASSERT_EQ(fcntl(file.get(), F_SET_RW_HINT, &hint), 0) << "where there is no sandbox";
  const auto mark = [&] { return fcntl(file.get(), F_SET_RW_HINT, &hint); };
  EXPECT_EQ(In(Sandbox::kIntake, mark), "done");
  EXPECT_EQ(In(Sandbox::kConnection, mark), "EPERM");
}

TEST(SandboxTest, QueriesOpenFilesForReading) {
  EXPECT_EQ(In(Sandbox::kServer, OpenForReading), "done");
  EXPECT_EQ(In(Sandbox::kConnection, OpenForReading), "done");
}

TEST(SandboxTest, ConnectionsForkNothingAndSignalNobody) {
  const auto fork_one = [] { return fork(); };
  EXPECT_EQ(In(Sandbox::kConnection, fork_one), "EPERM");
  EXPECT_EQ(In(Sandbox::kConnection, [] { return kill(getppid(), 0); }), "EPERM");
  EXPECT_EQ(In(Sandbox::kConnection, [] { return tgkill(getppid(), getppid(), 0); }), "EPERM");
  EXPECT_EQ(In(Sandbox::kIntake, [] { return kill(getppid(), 0); }), "EPERM");
  EXPECT_EQ(In(Sandbox::kServer, [] { return kill(getppid(), 0); }), "done") << "its own processes";
}

// A thread that runs already has the way out that the others lost, unless it is meant as well.
struct Entry {
  std::atomic<bool> entered = false;
  std::string inside;
};

// Not a std::thread: at its end the sanitizer looks at it by a call that is forbidden by then.
void* OpenAfterEntry(void* argument) {
  auto* const entry = static_cast<Entry*>(argument);
  entry->entered.wait(false);
  entry->inside = Outcome(OpenForReading());
  return nullptr;
}

TEST(SandboxTest, HoldsForThreadsThatRunAlready) {
  const std::string outcome = Forked([] {
    Entry entry;
    pthread_t thread = {};
    if (pthread_create(&thread, nullptr, OpenAfterEntry, &entry) != 0) return std::string("none");
    SandboxFilter(Sandbox::kIntake).Enter();
    entry.entered = true;
    entry.entered.notify_one();
    pthread_join(thread, nullptr);
    return entry.inside;
  });
  EXPECT_EQ(outcome, "EPERM");
}

// Another architecture's numbers mean other calls.
TEST(SandboxTest, CallOfAnotherArchitectureKills) {
  const std::string outcome = Forked([] {
    SandboxFilter(Sandbox::kIntake).Enter();
    constexpr long kOtherWay = 0x40000000;
    syscall(kOtherWay | SYS_getpid);
    return std::string("lives");
  });
  EXPECT_EQ(outcome, "died: Bad system call");
}

TEST(SandboxTest, MemoryIsNotMadeExecutable) {
  EXPECT_EQ(In(Sandbox::kIntake,
               [] {
                 void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC,
                                         MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
                 return page == MAP_FAILED ? -1 : 0;
               }),
            "EPERM");
}

}  // namespace
}  // namespace packetdb::host
