#include <gmock/gmock.h>
#include <string>

#include "host/sources/loopback.h"
#include "host/sources/raw_ip.h"
#include "tests/host/sources/decode.h"

namespace packetdb::host::test {
namespace {

TEST(RawIp, TellsTheVersionsApart) {
  EXPECT_EQ(Decode(ParseRawIp, Udp()), kUdpEvent);
  EXPECT_EQ(Decode(ParseRawIp, Bytes{0x60} + Zeros(39)), "IPv6 x1");
  EXPECT_EQ(Decode(ParseRawIp, Bytes{0x70} + Zeros(39)), "IP version is not 4 x1");
  EXPECT_EQ(Decode(ParseRawIp, {}), "IPv4 header truncated x1");
}

TEST(RawIp, DeclaredIpv4IsHeldToIt) {
  EXPECT_EQ(Decode(ParseRawIpv4, Udp()), kUdpEvent);
  EXPECT_EQ(Decode(ParseRawIpv4, Bytes{0x60} + Zeros(39)), "IP version is not 4 x1");
}

TEST(NullLoopback, TakesTheFamilyInEitherByteOrder) {
  EXPECT_EQ(Decode(ParseNullLoopback, Bytes{2, 0, 0, 0} + Udp()), kUdpEvent);
  EXPECT_EQ(Decode(ParseNullLoopback, Bytes{0, 0, 0, 2} + Udp()), kUdpEvent);
  for (const std::uint32_t ipv6 : {10U, 24U, 28U, 30U}) {
    EXPECT_EQ(Decode(ParseNullLoopback, Ordered(Order::kNative, ipv6) + Zeros(40)), "IPv6 x1");
    EXPECT_EQ(Decode(ParseNullLoopback, Ordered(Order::kSwapped, ipv6) + Zeros(40)), "IPv6 x1");
  }
}

TEST(NullLoopback, CountsOtherFamilies) {
  EXPECT_EQ(Decode(ParseNullLoopback, Bytes{7, 0, 0, 0} + Udp()), "neither IPv4, IPv6 nor ARP x1");
  EXPECT_EQ(Decode(ParseNullLoopback, Bytes{2, 0, 0}), "link header truncated x1");
}

TEST(Loopback, TakesTheFamilyBigEndianOnly) {
  EXPECT_EQ(Decode(ParseLoopback, Bytes{0, 0, 0, 2} + Udp()), kUdpEvent);
  EXPECT_EQ(Decode(ParseLoopback, Bytes{0, 0, 0, 24} + Zeros(40)), "IPv6 x1");
  EXPECT_EQ(Decode(ParseLoopback, Bytes{2, 0, 0, 0} + Udp()), "neither IPv4, IPv6 nor ARP x1");
  EXPECT_EQ(Decode(ParseLoopback, Bytes{0, 0, 0}), "link header truncated x1");
}

}  // namespace
}  // namespace packetdb::host::test
