// Matching by IP protocol.
#include "tests/library/match_fixture.h"

namespace packetdb::test {
namespace {

Protocols List(std::initializer_list<unsigned char> entries) {
  Protocols list;
  list.assign(entries);
  return list;
}

bool Has(const Protocols& list, int protocol) {
  return list.match(static_cast<unsigned char>(protocol));
}

// The same question, asked plainly.
bool Accepts(const Protocols& list, int protocol) {
  const bool common = protocol == 1 || protocol == 6 || protocol == 17;
  for (const int entry : list) {
    if (entry == 0 || entry == protocol || (entry == 255 && !common)) return true;
  }
  return list.empty();
}

class MatchProtocols : public MatchTest {};

TEST_F(MatchProtocols, EmptyListAcceptsEverything) {
  for (int protocol = 0; protocol < 256; ++protocol) EXPECT_TRUE(Has(Protocols(), protocol));
}

TEST_F(MatchProtocols, ZeroAcceptsEverything) {
  for (int protocol = 0; protocol < 256; ++protocol) EXPECT_TRUE(Has(List({0}), protocol));
}

TEST_F(MatchProtocols, OtherMeansAllButIcmpTcpAndUdp) {
  const Protocols list = List({255});
  for (const int protocol : {1, 6, 17}) EXPECT_FALSE(Has(list, protocol)) << protocol;
  for (const int protocol : {0, 2, 7, 16, 22, 47, 255}) {
    EXPECT_TRUE(Has(list, protocol)) << protocol;
  }
}

TEST_F(MatchProtocols, EveryPairOfEntriesAcceptsWhatItShould) {
  const std::vector<unsigned char> entries = {0, 1, 2, 6, 16, 17, 47, 254, 255};
  for (const auto a : entries) {
    for (const auto b : entries) {
      const Protocols list = List({a, b});
      for (int protocol = 0; protocol < 256; ++protocol) {
        ASSERT_EQ(Has(list, protocol), Accepts(list, protocol))
            << +a << " " << +b << " " << protocol;
      }
    }
  }
}

TEST_F(MatchProtocols, LaterEntryMayAccept) {
  EXPECT_TRUE(List({47, 50, 6}).match(6));
  EXPECT_TRUE(List({255, 6}).match(6));
  EXPECT_TRUE(List({47, 0}).match(6));
}

TEST_F(MatchProtocols, EmptyListIsReportedOnEveryCall) {
  const Protocols list;
  EXPECT_EQ(LinesOf(5,
                    [&] {
                      list.match(1);
                      list.match(1);
                    }),
            (Strings{"protocols list empty", "protocols list empty"}));
}

TEST_F(MatchProtocols, EmptyListIsOfferedToTheFacilityAtEveryLevel) {
  for (int level = 0; level <= 4; ++level) {
    Log().Forget();
    Log().SetLevel(level);
    EXPECT_TRUE(Protocols().match(6));
    ASSERT_EQ(Log().Attempts().size(), 1u) << level;
    EXPECT_EQ(Log().Attempts().front().level, 5);
    EXPECT_TRUE(Log().Lines().empty());
  }
}

TEST_F(MatchProtocols, UnlistedProtocolIsTraced) {
  const Protocols list = List({47});
  EXPECT_EQ(LinesOf(5, [&] { list.match(200); }), Strings{"protocol {u1:200} not in the list"});
}

TEST_F(MatchProtocols, UnlistedProtocolAsksNothingBelowLevelFive) {
  Log().SetLevel(4);
  EXPECT_FALSE(List({47}).match(200));
  EXPECT_TRUE(Log().Attempts().empty());
}

TEST_F(MatchProtocols, AcceptedProtocolIsNotTraced) {
  const Protocols list = List({47});
  EXPECT_EQ(LinesOf(5, [&] { list.match(47); }), Strings{});
}

TEST_F(MatchProtocols, QueryTracesItsOwnMismatch) {
  query_.m_Protocols = List({17});
  event_.Protocol(206);
  EXPECT_FALSE(Matches());
  EXPECT_EQ(Traces(),
            AfterFlagsPass({"protocol {u1:206} not in the list", "Protocol mismatch {u1:206}"}));
  ExpectLogged(5, "Protocol mismatch {u1:206}", [this] { Matches(); });
}

TEST_F(MatchProtocols, QueryWithAnEmptyListSaysSoAndGoesOn) {
  query_.m_Protocols.clear();
  EXPECT_EQ(Traces(), AfterFlagsPass({"protocols list empty", "final pass"}));
}

}  // namespace
}  // namespace packetdb::test
