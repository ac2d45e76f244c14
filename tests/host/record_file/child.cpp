#include "tests/host/record_file/child.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace packetdb::host {
namespace {

constexpr int kDied = 256;
constexpr uid_t kNobody = 65534;

int* SharedInt() {
  void* page =
      mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return page == MAP_FAILED ? nullptr : static_cast<int*>(page);
}

}  // namespace

int InChild(const std::function<int()>& act) {
  int* const answer = SharedInt();
  if (answer == nullptr) return kDied;
  const pid_t child = fork();
  if (child == 0) {
    *answer = act();
    _exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "the child died of signal " << WTERMSIG(status);
  const int result = WIFEXITED(status) ? *answer : kDied;
  munmap(answer, sizeof *answer);
  return result;
}

bool BecomeOrdinaryUser() {
  if (geteuid() != 0) return true;
  return setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0;
}

}  // namespace packetdb::host
