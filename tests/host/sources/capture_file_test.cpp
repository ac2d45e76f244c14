// Files of every kind that are as they should be.
#include "host/sources/capture_file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <string>
#include <tuple>
#include <unistd.h>

#include "tests/host/sources/capture_writer.h"
#include "tests/host/sources/decode.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

const std::string kCapturedUdpEvent =
    "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x0 code 60 size 32 at 684467200";

class CaptureFiles : public testing::Test {
 protected:
  // "seconds.nanoseconds" of the file's first event.
  std::string TimeIn(const Bytes& bytes) {
    CaptureReader reader(dir_.File("time", bytes), {});
    const auto event = reader.Next();
    if (!event) return reader.failure() ? reader.failure()->text : "no event";
    return std::to_string(event->time) + "." + std::to_string(event->nanoseconds);
  }

  TempDir dir_;
};

class EveryOrder : public CaptureFiles, public testing::WithParamInterface<Order> {};

TEST_P(EveryOrder, ReadsPcapInMicroseconds) {
  PcapFile file(kLinkEthernet, GetParam());
  file.Packet(kSecond, 123456, Ethernet(0x0800, Udp()));
  EXPECT_EQ(TimeIn(file.bytes()), "1000000000.123456000");
  EXPECT_THAT(ReadCapture(dir_.Path("time")).events, ElementsAre(kCapturedUdpEvent));
}

TEST_P(EveryOrder, ReadsPcapInNanoseconds) {
  PcapFile file(kLinkEthernet, GetParam(), true);
  file.Packet(kSecond, 123456789, Ethernet(0x0800, Udp()));
  EXPECT_EQ(TimeIn(file.bytes()), "1000000000.123456789");
  EXPECT_THAT(ReadCapture(dir_.Path("time")).events, ElementsAre(kCapturedUdpEvent));
}

TEST_P(EveryOrder, ReadsPcapng) {
  PcapngFile file(kLinkEthernet, GetParam());
  file.Packet(kSecond * std::uint64_t{1000000} + 123456, Ethernet(0x0800, Udp()));
  EXPECT_EQ(TimeIn(file.bytes()), "1000000000.123456000");
  EXPECT_THAT(ReadCapture(dir_.Path("time")).events, ElementsAre(kCapturedUdpEvent));
}

TEST_P(EveryOrder, ReadsPcapngInNanoseconds) {
  PcapngFile file(kLinkEthernet, GetParam(), 9);
  file.Packet(kSecond * std::uint64_t{1000000000} + 123456789, Ethernet(0x0800, Udp()));
  EXPECT_EQ(TimeIn(file.bytes()), "1000000000.123456789");
}

TEST_P(EveryOrder, ReadsNetfilterLogs) {
  const Order order = GetParam();
  PcapFile file(kLinkNflog, order);
  file.Packet(kSecond, 0, FullNflog(kInput, 2, 0, "pdb:in:1:drop", Udp(), order));
  EXPECT_THAT(ReadCapture(dir_.File("log", file.bytes())).events,
              ElementsAre("if2 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x21 code 1 size 32 "
                          "at 684467200"));
}

TEST_P(EveryOrder, SecondsOfPcapAreUnsigned) {
  PcapFile file(kLinkRaw, GetParam());
  file.Packet(0xFFFFFFFF, 0, Udp());
  CaptureReader reader(dir_.File("late", file.bytes()), {});
  EXPECT_FALSE(reader.Next());
  // Taken as negative they would lie before 1980.
  EXPECT_EQ(reader.counters().skipped(SkipReason::kTooLate), 1U);
}

TEST_P(EveryOrder, FractionsBeyondASecondStayWithinIt) {
  PcapFile file(kLinkRaw, GetParam(), true);
  file.Packet(kSecond, 4000000000, Udp());
  EXPECT_THAT(TimeIn(file.bytes()), testing::AnyOf("1000000000.0", "1000000000.999999999"));
}

INSTANTIATE_TEST_SUITE_P(Either, EveryOrder, testing::Values(Order::kNative, Order::kSwapped),
                         [](const auto& each) {
                           return std::string(each.param == Order::kNative ? "Native" : "Swapped");
                         });

TEST_F(CaptureFiles, KnowsEveryLinkType) {
  const auto events = [this](std::uint32_t link_type, const Bytes& packet) {
    PcapFile file(link_type);
    file.Packet(kSecond, 0, packet);
    return ReadCapture(dir_.File("link", file.bytes())).events.size();
  };
  EXPECT_EQ(events(kLinkEthernet, Ethernet(0x0800, Udp())), 1U);
  EXPECT_EQ(events(kLinkCooked, Cooked(0, 0x0800, Udp())), 1U);
  EXPECT_EQ(events(kLinkCooked2, Cooked2(0, 1, 0x0800, Udp())), 1U);
  EXPECT_EQ(events(kLinkRaw, Udp()), 1U);
  EXPECT_EQ(events(kLinkIpv4, Udp()), 1U);
  EXPECT_EQ(events(kLinkNull, Bytes{2, 0, 0, 0} + Udp()), 1U);
  EXPECT_EQ(events(kLinkLoop, Bytes{0, 0, 0, 2} + Udp()), 1U);
  EXPECT_EQ(events(kLinkNflog, FullNflog(kInput, 1, 0, "")), 1U);
}

TEST_F(CaptureFiles, HeaderWithoutPacketsIsAnEmptyCapture) {
  const ReadResult result = ReadCapture(dir_.File("none", PcapFile(kLinkRaw).bytes()));
  EXPECT_THAT(result.events, ElementsAre());
  EXPECT_EQ(result.failure, "");
}

TEST_F(CaptureFiles, PacketsWithoutAnEventAreCountedAndPassedOver) {
  PcapFile file(kLinkRaw);
  file.Packet(kSecond, 0, {0x60}).Packet(kSecond, 0, Udp()).Packet(kSecond, 0, {});
  const ReadResult result = ReadCapture(dir_.File("mixed", file.bytes()));
  EXPECT_THAT(result.events, ElementsAre(kCapturedUdpEvent));
  EXPECT_EQ(result.counters.packets(), 3U);
  EXPECT_EQ(result.counters.skipped(SkipReason::kIpv6), 1U);
  EXPECT_EQ(result.counters.skipped(SkipReason::kTruncatedIpv4), 1U);
}

TEST_F(CaptureFiles, DeliversTimesThatGoBackAsTheyAre) {
  PcapFile file(kLinkRaw);
  file.Packet(kSecond + 1, 0, Udp()).Packet(kSecond, 0, Udp());
  EXPECT_THAT(ReadCapture(dir_.File("back", file.bytes())).events,
              ElementsAre(testing::EndsWith("at 684467201"), testing::EndsWith("at 684467200")));
}

TEST_F(CaptureFiles, WireLengthBelowTheCapturedOneIsNotBelieved) {
  PcapFile file(kLinkRaw);
  file.Packet(kSecond, 0, Ipv4{.total_length = 0}.Build(), 1);
  EXPECT_THAT(ReadCapture(dir_.File("short", file.bytes())).events, ElementsAre(kCapturedUdpEvent));
}

TEST_F(CaptureFiles, DashIsStandardInput) {
  PcapFile file(kLinkRaw);
  file.Packet(kSecond, 0, Udp());
  const int input = open(dir_.File("input", file.bytes()).c_str(), O_RDONLY | O_CLOEXEC);
  const int saved = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
  ASSERT_GE(dup2(input, STDIN_FILENO), 0);
  const ReadResult result = ReadCapture("-");
  EXPECT_NE(fcntl(STDIN_FILENO, F_GETFD), -1);  // still open
  if (saved >= 0) dup2(saved, STDIN_FILENO);
  close(saved);
  close(input);
  EXPECT_THAT(result.events, ElementsAre(kCapturedUdpEvent));
}

}  // namespace
}  // namespace packetdb::host::test
