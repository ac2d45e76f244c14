// Captures of interfaces, for real.
#include "host/sources/live_capture.h"

#include <ctime>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>

#include "tests/host/sources/collector.h"
#include "tests/host/sources/live/child.h"
#include "tests/host/sources/live/network.h"
#include "tests/host/sources/live/receive.h"

namespace packetdb::host::test {
namespace {

using testing::MatchesRegex;
using testing::StartsWith;

const std::string kToPort9 = "udp dst port 9";

std::string OpenError(const LiveCaptureOptions& options) {
  try {
    LiveCapture::Open(options);
  } catch (const SourceError& error) {
    return error.what();
  }
  return "opened";
}

// What ends a capture, with the packets in front of it.
std::string EndOf(LiveCapture& capture) {
  Totals totals;
  try {
    ReceiveUntil(capture, totals, [] { return false; });
  } catch (const std::system_error& error) {
    return error.what();
  }
  return "nothing";
}

class LiveCaptureTest : public OwnNetwork {
 protected:
  void TearDown() override {
    if (!IsSkipped()) SetInterfaceUp("lo", true);
  }
};

TEST_F(LiveCaptureTest, CountsWhatWasSent) {
  const auto capture = LiveCapture::Open({.interface = "lo", .filter = kToPort9});
  EXPECT_EQ(capture->name(), "capture:lo");
  SendPackets(5000);
  Totals totals;
  ASSERT_TRUE(ReceiveAll(*capture, totals, 5000));
  EXPECT_EQ(totals.events, 5000U);
  EXPECT_EQ(totals.bytes, 160'000U);
  EXPECT_EQ(capture->counters().lost_overrun, 0U);
  EXPECT_FALSE(capture->Receive(totals));
}

TEST_F(LiveCaptureTest, AnEventHasTheInterfaceAndTheTimeAndNoDirection) {
  const auto capture = LiveCapture::Open({.interface = "lo", .filter = kToPort9});
  const std::int64_t before = time(nullptr);
  SendPackets(1);
  Collector events;
  ASSERT_TRUE(ReceiveAll(*capture, events, 1));
  EXPECT_THAT(events.events().front(),
              MatchesRegex("lo 127\\.0\\.0\\.1:[0-9]+ > 127\\.0\\.0\\.1:9 proto 17 flags 0x0 "
                           "code 0 size 32 at [0-9]+"));
  EXPECT_GE(events.last().time, before);
  EXPECT_LE(events.last().time, time(nullptr));
  EXPECT_GT(events.last().nanoseconds, 0U);
}

TEST_F(LiveCaptureTest, OfAllInterfacesTheOneIsTold) {
  const auto capture = LiveCapture::Open({.interface = "any", .filter = kToPort9});
  SendPackets(1);
  Collector events;
  ASSERT_TRUE(ReceiveAll(*capture, events, 1));
  EXPECT_THAT(events.events().front(), MatchesRegex("lo 127\\.0\\.0\\.1:.* flags 0x1 code 0 .*"));
}

TEST_F(LiveCaptureTest, ASnapLengthBelowThePortsIsRemarked) {
  const auto capture =
      LiveCapture::Open({.interface = "lo", .snap_length = 14 + 20, .filter = "udp"});
  SendPackets(1);
  Collector events;
  ASSERT_TRUE(ReceiveAll(*capture, events, 1));
  EXPECT_EQ(capture->packets().noted(Remark::kPortsNotCaptured), 1U);
}

TEST_F(LiveCaptureTest, WhatDidNotFitTheRingIsCountedToThePacket) {
  const InterfacePair pair;
  const auto capture =
      LiveCapture::Open({.interface = "pdb0", .filter = kToPort9, .buffer_bytes = 1U << 20U});
  SendPackets(100'000, InterfacePair::kBeyond);
  Totals totals;
  ASSERT_TRUE(ReceiveAll(*capture, totals, 100'000));
  EXPECT_EQ(Accounted(*capture), 100'000U);
  EXPECT_GT(capture->counters().lost_overrun, 0U);
  EXPECT_GT(capture->counters().overruns, 0U);
}

TEST_F(LiveCaptureTest, OneCallTakesABatchAndNoMore) {
  const InterfacePair pair;
  const auto capture = LiveCapture::Open({.interface = "pdb0", .filter = kToPort9});
  SendPackets(10'000, InterfacePair::kBeyond);
  Totals totals;
  ASSERT_TRUE(ReceiveUntil(*capture, totals, [&] { return totals.events > 0; }));
  EXPECT_LE(totals.events, 4096U);
  ASSERT_TRUE(ReceiveAll(*capture, totals, 10'000));
}

TEST_F(LiveCaptureTest, AProcessThatCanOpenNothingReads) {
  for (const bool promiscuous : {false, true}) {
    const auto capture =
        LiveCapture::Open({.interface = "lo", .promiscuous = promiscuous, .filter = kToPort9});
    SendPackets(1000);
    EXPECT_EQ(InChild([&]() -> std::string {
                OpenNothingMore();
                GiveUpCapabilities();
                Collector events;
                if (!ReceiveAll(*capture, events, 1000)) return "not all came";
                return std::to_string(capture->counters().lost_before_read);
              }),
              "0");
  }
}

TEST_F(LiveCaptureTest, NothingIsReadableUntilSomethingComes) {
  const auto capture = LiveCapture::Open({.interface = "lo"});
  pollfd waits = {capture->fd(), POLLIN, 0};
  EXPECT_EQ(poll(&waits, 1, 0), 0);
  Totals totals;
  EXPECT_FALSE(capture->Receive(totals));
}

TEST_F(LiveCaptureTest, AnInterfaceThatGoesDownEndsItsCapture) {
  const auto capture = LiveCapture::Open({.interface = "lo"});
  SetInterfaceUp("lo", false);
  EXPECT_THAT(EndOf(*capture), StartsWith("capture:lo: the interface went down"));
}

TEST_F(LiveCaptureTest, AnInterfaceThatGoesAwayEndsItsCapture) {
  InterfacePair pair;
  const auto capture = LiveCapture::Open({.interface = "pdb0"});
  pair.Delete();
  EXPECT_THAT(EndOf(*capture), StartsWith("capture:pdb0: "));
}

TEST_F(LiveCaptureTest, AnInterfaceThatIsNotThereIsNamed) {
  EXPECT_EQ(OpenError({.interface = "eth77"}), "capture of eth77: no such interface");
  EXPECT_EQ(OpenError({.interface = ""}), "capture of : no such interface");
}

TEST_F(LiveCaptureTest, AnInterfaceThatIsDownIsNamedAndSaidToBeOnce) {
  SetInterfaceUp("lo", false);
  EXPECT_EQ(OpenError({.interface = "lo"}), "capture of lo: That device is not up");
}

TEST_F(LiveCaptureTest, WhatIsNoInterfaceIsNotCaptured) {
  EXPECT_EQ(OpenError({.interface = "nflog"}), "capture of nflog: no such interface");
}

TEST_F(LiveCaptureTest, AFilterThatIsNoneIsQuotedWithTheReason) {
  EXPECT_THAT(OpenError({.interface = "lo", .filter = "udp prot 9"}),
              StartsWith("capture of lo: filter \"udp prot 9\": "));
}

TEST_F(LiveCaptureTest, WithoutTheRightTheReasonIsSaid) {
  EXPECT_THAT(InChild([] {
                GiveUpCapabilities();
                return OpenError({.interface = "lo"});
              }),
              StartsWith("capture of lo: You don't have permission"));
}

// A tunnel interface whose packets are of whatever kind one says.
TEST_F(LiveCaptureTest, ALinkTypeThatWeCannotTakeApartIsNamed) {
  const int tun = open("/dev/net/tun", O_RDWR | O_CLOEXEC);
  if (tun < 0) GTEST_SKIP() << "no right to make a tunnel interface";
  ifreq request = {};
  request.ifr_flags = IFF_TUN;
  std::string("pdbtun").copy(request.ifr_name, IFNAMSIZ);
  ASSERT_EQ(ioctl(tun, TUNSETIFF, &request), 0);
  ASSERT_EQ(ioctl(tun, TUNSETLINK, ARPHRD_IEEE80211_RADIOTAP), 0);
  SetInterfaceUp("pdbtun", true);
  EXPECT_EQ(OpenError({.interface = "pdbtun"}),
            "capture of pdbtun: unsupported link type: 127 (IEEE802_11_RADIO)");
  close(tun);
}

}  // namespace
}  // namespace packetdb::host::test
