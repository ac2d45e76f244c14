// After its start intake opens nothing: the process that reads packets is not allowed to.
#include <cstddef>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include "host/intake/rule_dictionary.h"
#include "tests/host/intake/support.h"
#include "tests/host/journals/support.h"
#include "tests/host/record_file/child.h"

namespace packetdb::host::test {
namespace {

// From now on this process, and all its threads that begin later, die when they open a file or a
// socket.
bool DieOfOpening() {
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_open, 4, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 3, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 2, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_creat, 1, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter = {sizeof program / sizeof *program, program};
  constexpr unsigned long kThreadsToo = SECCOMP_FILTER_FLAG_TSYNC;
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, kThreadsToo, &filter) == 0;
}

class IntakeInASandbox : public testing::Test, protected Intaken {
 protected:
  // Everything that a life of intake can meet: new rules, changed ones, new interfaces, repeats,
  // excluded events, failures with their log lines, and the end.
  int Live() {
    configuration().rules = {RuleFor("known", 44)};
    Start();
    if (!DieOfOpening()) return 1;
    Take({Seen().With("known"), Seen().With("new").On("wlan0"), Seen().With("new").On("wlan0")});
    std::filesystem::remove(Path("all.group"));
    Take({Seen().On("eth7")});
    if (Journal().events.Get() != 3 || Journal().failed.Get() != 1) return 2;
    Stop();
    return 0;
  }
};

TEST_F(IntakeInASandbox, OpensNothingOfADirectoryThatWasEmpty) {
  EXPECT_EQ(InChild([this] { return Live(); }), 0);
  EXPECT_EQ(Records().size(), 2U);
  EXPECT_EQ(RuleDictionary::Load(Path()).entries().size(), 2U);
}

TEST_F(IntakeInASandbox, OpensNothingOfAJournalThatWasClosed) {
  EXPECT_EQ(InChild([this] {
              Take({Seen().With("known")});
              Stop();
              return 0;
            }),
            0);
  EXPECT_EQ(InChild([this] { return Live(); }), 0);
  EXPECT_EQ(Records().size(), 3U);
}

TEST(ASandbox, KillsWhoOpensAFile) {
  EXPECT_NONFATAL_FAILURE(InChild([] {
                            if (!DieOfOpening()) return 0;
                            WriteText("/dev/null", "x");
                            return 0;
                          }),
                          "");
}

}  // namespace
}  // namespace packetdb::host::test
