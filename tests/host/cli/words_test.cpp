#include "host/cli/words.h"

#include <gmock/gmock.h>

#include "host/cli/parse_number.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ProtocolWords, AreKnownForTheCommonOnes) {
  EXPECT_EQ(ProtocolWord(1), "icmp");
  EXPECT_EQ(ProtocolWord(6), "tcp");
  EXPECT_EQ(ProtocolWord(17), "udp");
  EXPECT_EQ(ProtocolWord(132), "sctp");
}

TEST(ProtocolWords, AreNumbersForTheOthers) {
  EXPECT_EQ(ProtocolWord(0), "0");
  EXPECT_EQ(ProtocolWord(255), "255");
}

TEST(ProtocolWords, ReadBackAsTheirNumbers) {
  int words = 0;
  for (int number = 0; number < 256; ++number) {
    const auto protocol = static_cast<std::uint8_t>(number);
    if (ProtocolWord(protocol) == std::to_string(number)) continue;
    EXPECT_EQ(ProtocolNumber(ProtocolWord(protocol)), protocol);
    ++words;
  }
  EXPECT_EQ(words, 14);
}

TEST(ProtocolWords, AreNotGuessed) {
  for (const char* text : {"", "TCP", "tc", "tcp ", "6"}) {
    EXPECT_EQ(ProtocolNumber(text), std::nullopt) << text;
  }
}

TEST(ProtocolWords, AreListedForHelp) {
  EXPECT_EQ(AllProtocolWords(),
            "icmp, igmp, ipip, tcp, udp, dccp, gre, esp, ah, ospf, pim, vrrp, sctp, udplite");
}

TEST(FlagNames, AreThoseOfTheSetBitsFromTheLowestOn) {
  EXPECT_THAT(FlagWords(0), IsEmpty());
  EXPECT_THAT(FlagWords(0x22), ElementsAre("out", "dropped"));
  EXPECT_THAT(FlagWords(0x173),
              ElementsAre("in", "out", "accepted", "dropped", "rejected", "fragment"));
}

TEST(FlagNames, AreBitsWhereThereIsNoWord) {
  EXPECT_THAT(FlagWords(0x80000005), ElementsAre("in", "0x4", "0x80000000"));
}

TEST(FlagNames, ReadBackAsTheirBits) {
  for (int shift = 0; shift < 32; ++shift) {
    const std::uint32_t bit = 1U << shift;
    const auto words = FlagWords(bit);
    ASSERT_EQ(words.size(), 1U);
    const auto number = ParseNumber(words.front(), 1, 0xFFFFFFFF);
    EXPECT_EQ(number ? static_cast<std::uint32_t>(*number) : FlagBit(words.front()), bit);
  }
}

TEST(FlagNames, AreNotGuessed) {
  for (const char* text : {"", "IN", "drop", "in,out", "0x1"}) {
    EXPECT_EQ(FlagBit(text), std::nullopt) << text;
  }
}

TEST(FlagNames, AreListedForHelp) {
  EXPECT_EQ(AllFlagWords(), "in, out, accepted, dropped, rejected, fragment");
}

}  // namespace
}  // namespace packetdb::host::test
