// Processes that the supervisor forks.
#include "host/daemon/child_process.h"

#include <array>
#include <csignal>
#include <gmock/gmock.h>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace packetdb::host {
namespace {

using testing::Eq;
using testing::Optional;

bool Never() { return false; }

int Sleep() {
  for (;;) {
    pause();
  }
}

TEST(ChildProcessTest, IsReadyWhenItSaysSo) {
  ChildProcess child("the child", "child", [](StartReport& report) {
    report.Ready();
    return Sleep();
  });
  EXPECT_THAT(child.AwaitReady(Never), Eq(std::nullopt));
  EXPECT_FALSE(child.HasEnded());
}

TEST(ChildProcessTest, WhyItCannotStartIsTold) {
  ChildProcess child("the child", "child",
                     [](StartReport&) -> int { throw std::runtime_error("the disk is full"); });
  EXPECT_THAT(child.AwaitReady(Never), Optional(Eq("the disk is full")));
  EXPECT_TRUE(child.HasEnded());
  EXPECT_EQ(child.EndText(), "ended with status 7");
}

TEST(ChildProcessTest, EndBeforeItWasReadyIsTold) {
  ChildProcess silent("the child", "child", [](StartReport&) { return 3; });
  EXPECT_THAT(silent.AwaitReady(Never), Optional(Eq("the child ended with status 3")));
  ChildProcess killed("the child", "child", [](StartReport&) { return raise(SIGKILL); });
  EXPECT_THAT(killed.AwaitReady(Never), Optional(Eq("the child was killed by signal 9 (Killed)")));
}

TEST(ChildProcessTest, WaitForItCanBeGivenUp) {
  ChildProcess child("the child", "child", [](StartReport&) { return Sleep(); });
  EXPECT_THAT(child.AwaitReady([] { return true; }),
              Optional(Eq("the child was told to stop before it was ready")));
  EXPECT_TRUE(child.HasEnded());
}

TEST(ChildProcessTest, EndCanBeWaitedFor) {
  ChildProcess child("the child", "child", [](StartReport& report) {
    report.Ready();
    return 0;
  });
  ASSERT_FALSE(child.AwaitReady(Never));
  pollfd waited{child.end_fd(), POLLIN, 0};
  EXPECT_EQ(poll(&waited, 1, 60000), 1);
  EXPECT_TRUE(child.HasEnded());
  EXPECT_TRUE(child.ended_well());
}

TEST(ChildProcessTest, WhatDoesNotEndInTimeIsKilled) {
  ChildProcess child("the child", "child", [](StartReport& report) {
    std::signal(SIGTERM, SIG_IGN);
    report.Ready();
    return Sleep();
  });
  ASSERT_FALSE(child.AwaitReady(Never));
  child.Signal(SIGTERM);
  EXPECT_FALSE(child.AwaitEnd(std::chrono::milliseconds(50)));
  EXPECT_EQ(child.EndText(), "was killed by signal 9 (Killed)");
}

// The end of the pipe that the grandchild holds is what shows that it is gone.
TEST(ChildProcessTest, EndsWithAParentThatIsKilled) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  const pid_t parent = fork();
  if (parent == 0) {
    ChildProcess child("the child", "child", [](StartReport& report) {
      report.Ready();
      return Sleep();
    });
    child.AwaitReady(Never);
    kill(getpid(), SIGKILL);
  }
  close(ends[1]);
  waitpid(parent, nullptr, 0);
  pollfd waited{ends[0], POLLIN, 0};
  EXPECT_EQ(poll(&waited, 1, 60000), 1);
  char byte = 0;
  EXPECT_EQ(read(ends[0], &byte, 1), 0);
  close(ends[0]);
}

}  // namespace
}  // namespace packetdb::host
