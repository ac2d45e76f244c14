#include "host/sources/ipv4.h"

#include <gmock/gmock.h>
#include <string>

#include "host/sources/raw_ip.h"
#include "tests/host/sources/decode.h"

namespace packetdb::host::test {
namespace {

std::string Ip(const Ipv4& packet) { return Decode(ParseRawIpv4, packet.Build()); }

const Bytes kPorts = {0x03, 0xe8, 0x00, 0x35};

TEST(Ipv4, AddressesAndPortsAreInHostByteOrder) {
  const Decoded decoded = DecodeFrame(ParseRawIpv4, Udp());
  ASSERT_TRUE(decoded.event);
  EXPECT_EQ(+decoded.event->item.m_SrcIp, 0x0a000001U);
  EXPECT_EQ(+decoded.event->item.m_DstIp, 0x0a000002U);
  EXPECT_EQ(+decoded.event->item.m_SrcPort, 1000);
  EXPECT_EQ(+decoded.event->item.m_DstPort, 53);
}

TEST(Ipv4, GivesAnEventWithEveryField) {
  EXPECT_EQ(Ip({}), "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x0 code 60 size 32 at 5");
}

TEST(Ipv4, ReadsPortsOfEveryProtocolThatHasThem) {
  for (const std::uint8_t protocol : Bytes{6, 17, 33, 132, 136}) {
    EXPECT_EQ(Ip({.protocol = protocol, .payload = kPorts}),
              "capture 10.0.0.1:1000 > 10.0.0.2:53 proto " + std::to_string(protocol) +
                  " flags 0x0 code 60 size 24 at 5");
  }
}

TEST(Ipv4, LeavesPortsOfOtherProtocolsZero) {
  EXPECT_EQ(Ip({.protocol = kEsp}),
            "capture 10.0.0.1:0 > 10.0.0.2:0 proto 50 flags 0x0 code 60 size 32 at 5");
}

TEST(Ipv4, PutsIcmpTypeAndCodeIntoWord10) {
  EXPECT_EQ(Ip({.protocol = kIcmp, .payload = {3, 13, 0, 0}}),
            "capture 10.0.0.1:0 > 10.0.0.2:0 proto 1 flags 0x0 code 60 size 24 at 5 word10 781");
}

TEST(Ipv4, FindsPortsBehindOptions) {
  EXPECT_EQ(Ip({.options = Zeros(40)}),
            "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x0 code 60 size 72 at 5");
}

TEST(Ipv4, FlagsLaterFragmentsAndTakesNoPortsFromThem) {
  EXPECT_EQ(Ip({.fragment = 0x2001}),
            "capture 10.0.0.1:0 > 10.0.0.2:0 proto 17 flags 0x100 code 60 size 32 at 5");
  EXPECT_EQ(Ip({.protocol = kIcmp, .fragment = 0x1000}),
            "capture 10.0.0.1:0 > 10.0.0.2:0 proto 1 flags 0x100 code 60 size 32 at 5");
}

TEST(Ipv4, FirstFragmentHasItsPorts) {
  EXPECT_EQ(Ip({.fragment = 0x2000}),
            "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x0 code 60 size 32 at 5");
}

TEST(Ipv4, IgnoresPaddingBehindTheTotalLength) {
  EXPECT_EQ(Decode(ParseRawIpv4, Udp() + Bytes(14, 0xff)),
            "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x0 code 60 size 32 at 5");
}

TEST(Ipv4, DoesNotTakePaddingForPorts) {
  EXPECT_EQ(Ip({.total_length = 20}),
            "capture 10.0.0.1:0 > 10.0.0.2:0 proto 17 flags 0x0 code 60 size 20 at 5 "
            "[ports not captured x1]");
}

TEST(Ipv4, TakesTheTotalLengthOfAPacketThatTheCaptureCut) {
  EXPECT_EQ(Ip({.total_length = 1500}),
            "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x0 code 60 size 1500 at 5");
}

TEST(Ipv4, TakesTheWireLengthForTotalLengthZero) {
  EXPECT_EQ(Decode(ParseRawIpv4, Ipv4{.total_length = 0}.Build(), {}, 70000),
            "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x0 code 60 size 70000 at 5");
}

TEST(Ipv4, RemarksPortsThatAreNotCaptured) {
  const Bytes packet = Udp();
  EXPECT_EQ(Decode(ParseRawIpv4, FirstOf(packet, 20), {}, packet.size()),
            "capture 10.0.0.1:0 > 10.0.0.2:0 proto 17 flags 0x0 code 60 size 32 at 5 "
            "[ports not captured x1]");
  EXPECT_EQ(Decode(ParseRawIpv4, FirstOf(packet, 23), {}, packet.size()),
            "capture 10.0.0.1:1000 > 10.0.0.2:0 proto 17 flags 0x0 code 60 size 32 at 5 "
            "[ports not captured x1]");
}

TEST(Ipv4, RemarksIcmpTypeThatIsNotCaptured) {
  const Bytes packet = Ipv4{.protocol = kIcmp, .payload = {8, 0}}.Build();
  EXPECT_EQ(Decode(ParseRawIpv4, FirstOf(packet, 21), {}, packet.size()),
            "capture 10.0.0.1:0 > 10.0.0.2:0 proto 1 flags 0x0 code 60 size 22 at 5 "
            "[ports not captured x1]");
}

TEST(Ipv4, DoesNotLookForPortsInOptionsThatAreCut) {
  const Bytes packet = Ipv4{.options = Bytes(8, 0xff)}.Build();
  EXPECT_EQ(Decode(ParseRawIpv4, FirstOf(packet, 26), {}, packet.size()),
            "capture 10.0.0.1:0 > 10.0.0.2:0 proto 17 flags 0x0 code 60 size 40 at 5 "
            "[ports not captured x1]");
}

TEST(Ipv4, SkipsAHeaderThatIsCut) {
  EXPECT_EQ(Decode(ParseRawIpv4, {}), "IPv4 header truncated x1");
  EXPECT_EQ(Decode(ParseRawIpv4, FirstOf(Udp(), 19), {}, 32), "IPv4 header truncated x1");
}

TEST(Ipv4, SkipsAnotherVersion) {
  EXPECT_EQ(Ip({.version_and_ihl = 0x55}), "IP version is not 4 x1");
  EXPECT_EQ(Decode(ParseRawIpv4, {0x60}), "IP version is not 4 x1");
}

TEST(Ipv4, SkipsAHeaderLengthBelowTheFixedHeader) {
  EXPECT_EQ(Ip({.version_and_ihl = 0x44}), "IPv4 header length below 20 bytes x1");
}

TEST(Ipv4, SkipsATotalLengthShorterThanTheHeader) {
  EXPECT_EQ(Ip({.total_length = 19}), "IPv4 total length shorter than the header x1");
  EXPECT_EQ(Ip({.version_and_ihl = 0x4f}), "IPv4 total length shorter than the header x1");
  EXPECT_EQ(Ip({.total_length = 0, .version_and_ihl = 0x4f}),
            "IPv4 total length shorter than the header x1");
}

}  // namespace
}  // namespace packetdb::host::test
