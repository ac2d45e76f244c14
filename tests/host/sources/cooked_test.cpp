#include "host/sources/cooked.h"

#include <gmock/gmock.h>

#include "tests/host/sources/decode.h"

namespace packetdb::host::test {
namespace {

constexpr std::uint16_t kHost = 0, kBroadcast = 1, kOutgoing = 4;

TEST(Cooked, PacketTypeGivesTheDirection) {
  const char* const in =
      "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x1 code 60 size 32 at 5";
  EXPECT_EQ(Decode(ParseCooked, Cooked(kHost, 0x0800, Udp())), in);
  EXPECT_EQ(Decode(ParseCooked, Cooked(kBroadcast, 0x0800, Udp())), in);
  EXPECT_EQ(Decode(ParseCooked, Cooked(kOutgoing, 0x0800, Udp())),
            "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x2 code 60 size 32 at 5");
}

TEST(Cooked, FollowsTags) {
  EXPECT_EQ(Decode(ParseCooked, Cooked(kHost, 0x8100, Tag(7, 0x0800, Udp()))),
            "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x1 code 60 size 32 at 5");
}

TEST(Cooked, SkipsAHeaderThatIsCut) {
  EXPECT_EQ(Decode(ParseCooked, FirstOf(Cooked(kHost, 0x0800, Udp()), 15)),
            "link header truncated x1");
}

TEST(Cooked, CountsOtherProtocols) {
  EXPECT_EQ(Decode(ParseCooked, Cooked(kHost, 0x86dd, Zeros(40))), "IPv6 x1");
  EXPECT_EQ(Decode(ParseCooked, Cooked(kHost, 0x0806, Zeros(28))), "ARP x1");
}

TEST(Cooked2, GivesDirectionAndInterface) {
  EXPECT_EQ(Decode(ParseCooked2, Cooked2(0, 3, 0x0800, Udp())),
            "if3 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x1 code 60 size 32 at 5");
  EXPECT_EQ(Decode(ParseCooked2, Cooked2(4, 0x01020304, 0x0800, Udp())),
            "if16909060 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x2 code 60 size 32 at 5");
}

TEST(Cooked2, InterfaceZeroIsNone) {
  EXPECT_EQ(Decode(ParseCooked2, Cooked2(0, 0, 0x0800, Udp())),
            "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x1 code 60 size 32 at 5");
}

TEST(Cooked2, SkipsAHeaderThatIsCut) {
  EXPECT_EQ(Decode(ParseCooked2, FirstOf(Cooked2(0, 3, 0x0800, Udp()), 19)),
            "link header truncated x1");
}

TEST(Cooked2, CountsOtherProtocols) {
  EXPECT_EQ(Decode(ParseCooked2, Cooked2(0, 3, 0x86dd, Zeros(40))), "IPv6 x1");
  EXPECT_EQ(Decode(ParseCooked2, Cooked2(0, 3, 0x0004, Zeros(40))),
            "neither IPv4, IPv6 nor ARP x1");
}

}  // namespace
}  // namespace packetdb::host::test
