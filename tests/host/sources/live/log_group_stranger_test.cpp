// What reaches a log group's socket besides the records that the reader waits for.
#include <cerrno>
#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include "host/sources/log_group.h"
#include "host/sources/log_group_filter.h"
#include "tests/host/sources/live/child.h"
#include "tests/host/sources/live/network.h"
#include "tests/host/sources/live/receive.h"
#include "tests/host/sources/log_messages.h"

namespace packetdb::host::test {
namespace {

// A netfilter socket without any libraries.
class PlainSocket {
 public:
  PlainSocket() : fd_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_NETFILTER)) {
    const sockaddr_nl any = {AF_NETLINK, 0, 0, 0};
    EXPECT_EQ(bind(fd_, reinterpret_cast<const sockaddr*>(&any), sizeof any), 0);
  }
  ~PlainSocket() { close(fd_); }
  PlainSocket(const PlainSocket&) = delete;
  PlainSocket& operator=(const PlainSocket&) = delete;

  int fd() const { return fd_; }
  void SendTo(int other, const Bytes& message) const {
    sockaddr_nl to = {};
    socklen_t size = sizeof to;
    getsockname(other, reinterpret_cast<sockaddr*>(&to), &size);
    EXPECT_EQ(
        sendto(fd_, message.data(), message.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to),
        static_cast<ssize_t>(message.size()));
  }
  // Of the message that waits; 0 when there is none.
  std::uint16_t ReceiveType() const {
    nlmsghdr header = {};
    return recv(fd_, &header, sizeof header, MSG_DONTWAIT | MSG_TRUNC) < 0 ? std::uint16_t{0}
                                                                           : header.nlmsg_type;
  }

 private:
  int fd_;
};

class LogGroupStranger : public OwnNetwork {};

TEST_F(LogGroupStranger, MessagesOfOtherProcessesAreCountedAndDropped) {
  const auto group = LogGroup::Open({.group = 5});
  const PlainSocket stranger;
  stranger.SendTo(group->fd(), Numbered(0));
  stranger.SendTo(group->fd(), Message(kMessageError, Refusal(EPERM)));
  Totals totals;
  EXPECT_TRUE(group->Receive(totals));
  EXPECT_EQ(totals.events, 0U);
  EXPECT_EQ(group->counters().foreign, 2U);
  EXPECT_EQ(group->packets().packets(), 0U);
}

TEST_F(LogGroupStranger, TheyDoNotStandInTheWayOfRecords) {
  const auto group = LogGroup::Open({.group = 5});
  SetRules(LogRules("input", "log group 5"));
  const PlainSocket stranger;
  stranger.SendTo(group->fd(), Numbered(1'000'000));
  SendPackets(3);
  Totals totals;
  ASSERT_TRUE(ReceiveAll(*group, totals, 3));
  EXPECT_EQ(totals.events, 3U);
  EXPECT_EQ(group->counters().lost_overrun, 0U);
}

TEST_F(LogGroupStranger, ADatagramWithoutRoomIsMalformedAndNotRead) {
  const auto group = LogGroup::Open({.group = 5, .largest_datagram = 64});
  SetRules(LogRules("input", "log group 5"));
  SendPackets(1);
  Totals totals;
  ASSERT_TRUE(ReceiveUntil(*group, totals, [&] { return group->counters().malformed > 0; }));
  EXPECT_EQ(group->counters().malformed, 1U);
  EXPECT_EQ(group->packets().packets(), 0U);
}

TEST_F(LogGroupStranger, OnlyAnswersComeThroughUntilTheGroupIsSetUp) {
  const PlainSocket reader;
  const PlainSocket stranger;
  ASSERT_TRUE(AdmitOnlyAnswers(reader.fd()));
  stranger.SendTo(reader.fd(), Numbered(0));
  stranger.SendTo(reader.fd(), Message(kMessageError, Refusal(0)));
  EXPECT_EQ(reader.ReceiveType(), kMessageError);
  EXPECT_EQ(reader.ReceiveType(), 0);
  ASSERT_TRUE(AdmitEverything(reader.fd()));
  stranger.SendTo(reader.fd(), Numbered(0));
  EXPECT_EQ(reader.ReceiveType(), kMessageLog);
}

TEST_F(LogGroupStranger, EndingAFilterThatIsNotThereIsFine) {
  const PlainSocket reader;
  EXPECT_TRUE(AdmitEverything(reader.fd()));
  EXPECT_FALSE(AdmitEverything(-1));
  EXPECT_FALSE(AdmitOnlyAnswers(-1));
}

TEST_F(LogGroupStranger, AGroupIsSetUpWhilePacketsAreLoggedToIt) {
  SetRules(LogRules("input", "log prefix \"in: \" group 5 queue-threshold 1"));
  const Child sender([] {
    for (;;) SendPackets(1000);
  });
  for (int i = 0; i < 200; ++i) {
    const auto group = LogGroup::Open({.group = 5});
    Totals totals;
    ASSERT_TRUE(ReceiveAll(*group, totals, 1));
    EXPECT_EQ(group->counters().malformed, 0U);
    EXPECT_EQ(group->counters().next_sequence, Accounted(*group));
  }
}

}  // namespace
}  // namespace packetdb::host::test
