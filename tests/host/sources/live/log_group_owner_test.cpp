// Groups that cannot be had, and descriptors that are not what they should be: why is said.
#include "host/sources/log_group_owner.h"

#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include "host/sources/log_group.h"
#include "host/sources/log_group_filter.h"
#include "tests/host/sources/live/child.h"
#include "tests/host/sources/live/network.h"
#include "tests/host/sources/live/receive.h"

namespace packetdb::host::test {
namespace {

std::string OpenError(const LogGroupOptions& options) {
  try {
    LogGroup::Open(options);
  } catch (const SourceError& error) {
    return error.what();
  }
  return "opened";
}

std::string AdoptError(int fd) {
  try {
    LogGroup::Adopt(fd, {.group = 5});
  } catch (const SourceError& error) {
    return error.what();
  }
  return "adopted";
}

std::string Descriptor(int fd) { return "log group 5: descriptor " + std::to_string(fd); }

std::string ThisProcess() {
  std::string name;
  std::getline(std::ifstream("/proc/self/comm"), name);
  return name + " (pid " + std::to_string(getpid()) + ")";
}

class LogGroupOwnerTest : public OwnNetwork {};

TEST_F(LogGroupOwnerTest, ASecondReaderIsToldWhoHoldsTheGroup) {
  const auto group = LogGroup::Open({.group = 5});
  const std::string expected = "log group 5: held by " + ThisProcess();
  EXPECT_EQ(OpenError({.group = 5}), expected);
  EXPECT_EQ(InChild([] { return OpenError({.group = 5}); }), expected);
}

TEST_F(LogGroupOwnerTest, AGroupIsFreeAgainWhenItsReaderIsGone) {
  EXPECT_EQ(InChild([] { return OpenError({.group = 5}); }), "opened");
  EXPECT_EQ(OpenError({.group = 5}), "opened");
  EXPECT_EQ(OpenError({.group = 5}), "opened");
}

TEST_F(LogGroupOwnerTest, WithoutTheRightTheCapabilityIsNamed) {
  EXPECT_EQ(InChild([] {
              GiveUpCapabilities();
              return OpenError({.group = 5});
            }),
            "log group 5: no right to read it: CAP_NET_ADMIN is missing");
}

TEST_F(LogGroupOwnerTest, APortThatNobodyHasIsNamedByItsNumber) {
  EXPECT_EQ(DescribeNetlinkPort(4'000'000'000), "netlink port 4000000000");
}

TEST_F(LogGroupOwnerTest, OfAGroupThatNobodyReadsNothingIsSaid) {
  const LogGroupOwner owner = FindLogGroupOwner(5);
  EXPECT_TRUE(owner.known);
  EXPECT_FALSE(owner.port);
}

TEST_F(LogGroupOwnerTest, AnAdoptedSocketKeepsWhatWaitsInIt) {
  auto first = LogGroup::Open({.group = 5});
  SetRules(LogRules("input", "log group 5"));
  SendPackets(1000);
  const int kept = fcntl(first->fd(), F_DUPFD_CLOEXEC, 0);
  first.reset();
  SendPackets(1000);
  const auto second = LogGroup::Adopt(kept, {.group = 5});
  Totals totals;
  ASSERT_TRUE(ReceiveAll(*second, totals, 2000));
  EXPECT_EQ(totals.events, 2000U);
  EXPECT_EQ(second->counters().next_sequence, 2000U);
  EXPECT_EQ(second->counters().malformed, 0U);
}

TEST_F(LogGroupOwnerTest, AnAdoptedSocketIsSetUpAnew) {
  auto first = LogGroup::Open({.group = 5, .receive_buffer = 1});
  const int kept = fcntl(first->fd(), F_DUPFD, 0);
  fcntl(kept, F_SETFL, 0);
  AdmitOnlyAnswers(kept);
  first.reset();
  const auto second = LogGroup::Adopt(kept, {.group = 5, .copy_range = 20});
  EXPECT_NE(fcntl(kept, F_GETFL) & O_NONBLOCK, 0);
  EXPECT_EQ(fcntl(kept, F_GETFD), FD_CLOEXEC);
  EXPECT_GT(second->counters().buffer_bytes, 100'000U);
  SetRules(LogRules("input", "log group 5"));
  SendPackets(1);
  Totals totals;
  ASSERT_TRUE(ReceiveAll(*second, totals, 1));
  EXPECT_EQ(second->packets().noted(Remark::kPortsNotCaptured), 1U);
}

TEST_F(LogGroupOwnerTest, OtherDescriptorsAreNotAdopted) {
  const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const int udp = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const int route = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
  for (const int fd : {file, udp, route, -1}) {
    EXPECT_EQ(AdoptError(fd), Descriptor(fd) + " is no netfilter socket");
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  }
}

TEST_F(LogGroupOwnerTest, ASocketThatDoesNotHoldTheGroupIsNotAdopted) {
  const int unbound = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_NETFILTER);
  EXPECT_EQ(AdoptError(unbound), Descriptor(unbound) + " does not hold it, but nobody does");
  const auto holder = LogGroup::Open({.group = 5});
  const auto other = LogGroup::Open({.group = 6});
  const int wrong = fcntl(other->fd(), F_DUPFD_CLOEXEC, 0);
  EXPECT_EQ(AdoptError(wrong),
            Descriptor(wrong) + " does not hold it, but " + ThisProcess() + " does");
}

}  // namespace
}  // namespace packetdb::host::test
