// Matching by flag bits.
#include "tests/library/match_fixture.h"

namespace packetdb::test {
namespace {

constexpr std::uint32_t kTwinBits = 0x00800000 | 0x01000000;

class MatchFlags : public MatchTest {
 protected:
  bool MatchesFlags(std::uint32_t flags, std::uint32_t wanted, std::uint32_t not_wanted) {
    event_.Flags(flags);
    query_.m_FlagsWanted = wanted;
    query_.m_FlagsNotWanted = not_wanted;
    return Matches();
  }
};

TEST_F(MatchFlags, AllWantedBitsMustBeThere) {
  EXPECT_TRUE(MatchesFlags(0x7, 0x5, 0));
  EXPECT_FALSE(MatchesFlags(0x4, 0x5, 0));
  EXPECT_FALSE(MatchesFlags(0, 0x80000000, 0));
  EXPECT_TRUE(MatchesFlags(0x80000000, 0x80000000, 0));
}

TEST_F(MatchFlags, NoUnwantedBitMayBeThere) {
  EXPECT_TRUE(MatchesFlags(0x8, 0, 0x5));
  EXPECT_FALSE(MatchesFlags(0x4, 0, 0x5));
  EXPECT_FALSE(MatchesFlags(0xf, 0, 0x5));
}

TEST_F(MatchFlags, EitherTwinBitStandsForBoth) {
  for (const std::uint32_t flags : {0x00800000u, 0x01000000u, kTwinBits}) {
    for (const std::uint32_t asked : {0x00800000u, 0x01000000u, kTwinBits}) {
      EXPECT_TRUE(MatchesFlags(flags, asked, 0));
      EXPECT_FALSE(MatchesFlags(flags, 0, asked));
    }
  }
}

TEST_F(MatchFlags, OtherBitsDoNotSetTheTwins) {
  EXPECT_FALSE(MatchesFlags(~kTwinBits, 0x00800000, 0));
  EXPECT_TRUE(MatchesFlags(~kTwinBits, 0, kTwinBits));
}

TEST_F(MatchFlags, TwinsSetNoOtherBits) {
  for (const std::uint32_t twin : {0x00800000u, 0x01000000u}) {
    EXPECT_TRUE(MatchesFlags(twin, 0, ~kTwinBits));
    for (std::uint32_t bit = 1; bit != 0; bit <<= 1) {
      EXPECT_EQ(MatchesFlags(twin, bit, 0), (bit & kTwinBits) != 0) << bit;
    }
  }
}

TEST_F(MatchFlags, MissingWantedBitIsTracedWithTheRawFlags) {
  event_.Flags(0x00800000);
  query_.m_FlagsWanted = 0x00800003;
  const std::string trace = "Wanted flags not found: Packet: {x4:800000} Wanted {x4:800003}";
  EXPECT_EQ(Traces(), Strings{trace});
  ExpectLogged(5, trace, [this] { Matches(); });
}

TEST_F(MatchFlags, UnwantedBitIsTracedWithTheRawFlags) {
  event_.Flags(0x00800000);
  query_.m_FlagsNotWanted = 0x01000000;
  const std::string trace = "Unwanted flags found: Packet: {x4:800000} NotWanted {x4:1000000}";
  EXPECT_EQ(Traces(), Strings{trace});
  ExpectLogged(5, trace, [this] { Matches(); });
}

TEST_F(MatchFlags, PassIsTracedWithTheWidenedFlags) {
  event_.Flags(0x00800001);
  query_.m_FlagsWanted = 0x01000000;
  query_.m_FlagsNotWanted = 0x2;
  const std::string trace =
      "Flags pass: flags: {x4:1800001} Packet: {x4:800001} Wanted {x4:1000000} NotWanted {x4:2}";
  EXPECT_EQ(Traces(), (Strings{trace, "final pass"}));
  ExpectLogged(5, trace, [this] { Matches(); });
}

TEST_F(MatchFlags, WantedBitsAreTestedBeforeUnwantedOnes) {
  event_.Flags(0x1);
  query_.m_FlagsWanted = 0x2;
  query_.m_FlagsNotWanted = 0x1;
  EXPECT_EQ(Traces(), Strings{"Wanted flags not found: Packet: {x4:1} Wanted {x4:2}"});
}

TEST_F(MatchFlags, AddressesAreTestedBeforeFlags) {
  query_.m_IdSrc = 99;
  query_.m_FlagsWanted = 0x2;
  EXPECT_EQ(Traces().back(), "IP/ID/port mismatched(dir=0)");
}

}  // namespace
}  // namespace packetdb::test
