#include "host/sources/ethernet.h"

#include <gmock/gmock.h>
#include <string>

#include "tests/host/sources/decode.h"

namespace packetdb::host::test {
namespace {

Bytes Tagged(std::size_t tags) {
  Bytes inside = Udp();
  std::uint16_t type = 0x0800;
  for (std::size_t i = 0; i < tags; ++i) {
    inside = Tag(7, type, inside);
    type = i % 2 == 0 ? 0x8100 : 0x88a8;
  }
  return Ethernet(type, inside);
}

TEST(Ethernet, FindsThePacket) {
  EXPECT_EQ(Decode(ParseEthernet, Ethernet(0x0800, Udp())), kUdpEvent);
}

TEST(Ethernet, FindsThePacketBehindAnyTagUpToTheBound) {
  for (std::size_t tags = 1; tags <= kMaxVlanTags; ++tags) {
    EXPECT_EQ(Decode(ParseEthernet, Tagged(tags)), kUdpEvent) << tags;
  }
  EXPECT_EQ(Decode(ParseEthernet, Ethernet(0x9100, Tag(7, 0x0800, Udp()))), kUdpEvent);
}

TEST(Ethernet, SkipsTagsBeyondTheBound) {
  EXPECT_EQ(Decode(ParseEthernet, Tagged(kMaxVlanTags + 1)), "too many VLAN tags x1");
}

TEST(Ethernet, SkipsATagThatIsCut) {
  EXPECT_EQ(Decode(ParseEthernet, Ethernet(0x8100, {0, 7, 8})), "link header truncated x1");
}

TEST(Ethernet, SkipsAHeaderThatIsCut) {
  EXPECT_EQ(Decode(ParseEthernet, FirstOf(Ethernet(0x0800, Udp()), 13)),
            "link header truncated x1");
}

TEST(Ethernet, CountsWhatIsNotIpv4ByWhatItIs) {
  EXPECT_EQ(Decode(ParseEthernet, Ethernet(0x86dd, Zeros(40))), "IPv6 x1");
  EXPECT_EQ(Decode(ParseEthernet, Ethernet(0x0806, Zeros(28))), "ARP x1");
  EXPECT_EQ(Decode(ParseEthernet, Ethernet(0x8847, Udp())), "neither IPv4, IPv6 nor ARP x1");
}

TEST(Ethernet, CountsFramesWithALengthInPlaceOfATypeAsNotIp) {
  EXPECT_EQ(Decode(ParseEthernet, Ethernet(38, Zeros(38))), "neither IPv4, IPv6 nor ARP x1");
}

TEST(Ethernet, LooksAtTheTypeInsideATag) {
  EXPECT_EQ(Decode(ParseEthernet, Ethernet(0x8100, Tag(7, 0x86dd, Zeros(40)))), "IPv6 x1");
}

TEST(Ethernet, LeavesItsHeadersOutOfTheWireLength) {
  const Bytes frame = Ethernet(0x8100, Tag(7, 0x0800, Ipv4{.total_length = 0}.Build()));
  EXPECT_EQ(Decode(ParseEthernet, frame, {}, 2018),
            "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x0 code 60 size 2000 at 5");
}

}  // namespace
}  // namespace packetdb::host::test
