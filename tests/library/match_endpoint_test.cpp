// Matching by node, address and port, in one or both directions.
#include "tests/library/match_fixture.h"

namespace packetdb::test {
namespace {

class Endpoint : public LibraryTest {
 protected:
  // The trace of a match that fails.
  std::string TraceOf(unsigned int id, unsigned int ip, unsigned short port) {
    bool matched = true;
    const Strings lines = LinesOf(5, [&] { matched = point_.match(id, ip, port); });
    EXPECT_FALSE(matched);
    return lines.size() == 1 ? lines.front() : std::to_string(lines.size()) + " lines";
  }

  endpoint point_{};
};

TEST_F(Endpoint, EmptyOneMatchesAnything) {
  EXPECT_TRUE(point_.match(0, 0, 0));
  EXPECT_TRUE(point_.match(~0u, ~0u, 65535));
}

TEST_F(Endpoint, NodeMustBeEqual) {
  point_.id = 7;
  EXPECT_TRUE(point_.match(7, 1, 1));
  EXPECT_EQ(TraceOf(0xab, 1, 1), "ID {x4:ab} not equal to {x4:7}");
  EXPECT_FALSE(point_.match(0, 1, 1));
}

TEST_F(Endpoint, AddressMustBeEqual) {
  point_.ip_from = 0xc0000001;
  EXPECT_TRUE(point_.match(1, 0xc0000001, 1));
  EXPECT_EQ(TraceOf(1, 0xc0000002, 1), "IP {x4:c0000002} not equal to {x4:c0000001}");
}

TEST_F(Endpoint, AddressRangeIncludesBothEnds) {
  point_.ip_from = 0x7fffffff;
  point_.ip_to = 0x80000001;
  for (const unsigned int ip : {0x7fffffffu, 0x80000000u, 0x80000001u}) {
    EXPECT_TRUE(point_.match(1, ip, 1)) << ip;
  }
  EXPECT_EQ(TraceOf(1, 0x7ffffffe, 1),
            "IP {x4:7ffffffe} not in range {x4:7fffffff}..{x4:80000001}");
  EXPECT_FALSE(point_.match(1, 0x80000002, 1));
}

TEST_F(Endpoint, AddressRangeMayBeginAtZero) {
  point_.ip_to = 5;
  EXPECT_TRUE(point_.match(1, 0, 1));
  EXPECT_TRUE(point_.match(1, 5, 1));
  EXPECT_EQ(TraceOf(1, 6, 1), "IP {x4:6} not in range {x4:0}..{x4:5}");
}

TEST_F(Endpoint, ReversedAddressRangeMatchesNothing) {
  point_.ip_from = 6;
  point_.ip_to = 5;
  for (const unsigned int ip : {0u, 4u, 5u, 6u, 7u}) EXPECT_FALSE(point_.match(1, ip, 1)) << ip;
}

TEST_F(Endpoint, PortMustBeEqual) {
  point_.port_from = 80;
  EXPECT_TRUE(point_.match(1, 1, 80));
  EXPECT_EQ(TraceOf(1, 1, 81), "port {u2:81} not equal to {u2:80}");
  EXPECT_FALSE(point_.match(1, 1, 0));
}

TEST_F(Endpoint, PortRangeIncludesBothEnds) {
  point_.port_from = 1000;
  point_.port_to = 65535;
  EXPECT_TRUE(point_.match(1, 1, 1000));
  EXPECT_TRUE(point_.match(1, 1, 65535));
  EXPECT_EQ(TraceOf(1, 1, 999), "port {u2:999} not in range {u2:1000}..{u2:65535}");
}

TEST_F(Endpoint, PortRangeMayBeginAtZeroButNotBeReversed) {
  point_.port_to = 5;
  EXPECT_TRUE(point_.match(1, 1, 0));
  EXPECT_FALSE(point_.match(1, 1, 6));
  point_.port_from = 6;
  EXPECT_FALSE(point_.match(1, 1, 5));
  EXPECT_FALSE(point_.match(1, 1, 6));
}

TEST_F(Endpoint, NodeIsTestedBeforeAddressBeforePort) {
  point_ = {1, 2, 0, 3, 0};
  EXPECT_EQ(TraceOf(9, 9, 9), "ID {x4:9} not equal to {x4:1}");
  EXPECT_EQ(TraceOf(1, 9, 9), "IP {x4:9} not equal to {x4:2}");
  EXPECT_EQ(TraceOf(1, 2, 9), "port {u2:9} not equal to {u2:3}");
  EXPECT_TRUE(point_.match(1, 2, 3));
}

TEST_F(Endpoint, TracesOnlyAtLevelFive) {
  point_ = {1, 2, 3, 4, 5};
  ExpectLogged(5, "ID {x4:9} not equal to {x4:1}", [&] { point_.match(9, 2, 4); });
  ExpectLogged(5, "IP {x4:9} not in range {x4:2}..{x4:3}", [&] { point_.match(1, 9, 4); });
  ExpectLogged(5, "port {u2:9} not in range {u2:4}..{u2:5}", [&] { point_.match(1, 2, 9); });
  point_.ip_to = 0;
  ExpectLogged(5, "IP {x4:9} not equal to {x4:2}", [&] { point_.match(1, 9, 4); });
  point_.port_to = 0;
  ExpectLogged(5, "port {u2:9} not equal to {u2:4}", [&] { point_.match(1, 2, 9); });
}

TEST_F(Endpoint, LooksAtEitherSideOfAnEvent) {
  const Event event = Event().Src(1, 2, 3).Dst(4, 5, 6);
  point_ = {3, 1, 0, 2, 0};
  EXPECT_TRUE(point_.match_src(event));
  EXPECT_FALSE(point_.match_dst(event));
  point_ = {6, 4, 0, 5, 0};
  EXPECT_TRUE(point_.match_dst(event));
  EXPECT_FALSE(point_.match_src(event));
}

class MatchEndpoints : public MatchTest {
 protected:
  MatchEndpoints() {
    query_.m_IpSrcFrom = 0x0a000001;
    query_.m_IpDstFrom = 0x0a000002;
  }
  void Swap() { event_.Src(0x0a000002, 80, 8).Dst(0x0a000001, 1024, 7); }
};

TEST_F(MatchEndpoints, OneDirectionSelectsOnlyIt) {
  for (const int direction : {0, 2, 255}) {
    query_.m_Direction = static_cast<std::uint8_t>(direction);
    event_.Src(0x0a000001).Dst(0x0a000002);
    EXPECT_TRUE(Matches());
    Swap();
    EXPECT_FALSE(Matches());
  }
}

TEST_F(MatchEndpoints, BothDirectionsSelectEither) {
  query_.m_Direction = 1;
  EXPECT_TRUE(Matches());
  Swap();
  EXPECT_TRUE(Matches());
}

TEST_F(MatchEndpoints, BothDirectionsDoNotMixSides) {
  query_.m_Direction = 1;
  event_.Src(0x0a000001).Dst(0x0a000001);
  EXPECT_FALSE(Matches());
  event_.Src(0x0a000002).Dst(0x0a000002);
  EXPECT_FALSE(Matches());
}

TEST_F(MatchEndpoints, EveryEndpointFieldIsUsed) {
  query_.m_IpSrcFrom = query_.m_IpDstFrom = 0;
  const auto only = [this](auto Query::*field, auto good, auto bad) {
    query_.*field = static_cast<std::remove_reference_t<decltype(query_.*field)>>(good);
    EXPECT_TRUE(Matches());
    query_.*field = static_cast<std::remove_reference_t<decltype(query_.*field)>>(bad);
    EXPECT_FALSE(Matches());
    query_.*field = 0;
  };
  only(&Query::m_IdSrc, 7, 8);
  only(&Query::m_IdDst, 8, 7);
  only(&Query::m_IpSrcFrom, 0x0a000001, 0x0a000002);
  only(&Query::m_IpSrcTo, 0x0a000001, 0x0a000000);
  only(&Query::m_IpDstFrom, 0x0a000002, 0x0a000001);
  only(&Query::m_IpDstTo, 0x0a000002, 0x0a000001);
  only(&Query::m_PortSrcFrom, 1024, 80);
  only(&Query::m_PortSrcTo, 1024, 1023);
  only(&Query::m_PortDstFrom, 80, 1024);
  only(&Query::m_PortDstTo, 80, 79);
}

TEST_F(MatchEndpoints, OneDirectionTracesTheFirstMismatchOnly) {
  Swap();
  EXPECT_EQ(Traces(),
            (Strings{"IP {x4:a000002} not equal to {x4:a000001}", "IP/ID/port mismatched(dir=0)"}));
  ExpectLogged(5, "IP/ID/port mismatched(dir=0)", [this] { Matches(); });
}

TEST_F(MatchEndpoints, OneDirectionTestsTheDestinationSecond) {
  event_.Src(0x0a000001).Dst(3);
  EXPECT_EQ(Traces(),
            (Strings{"IP {x4:3} not equal to {x4:a000002}", "IP/ID/port mismatched(dir=0)"}));
}

TEST_F(MatchEndpoints, BothDirectionsTraceEveryTestThatRan) {
  query_.m_Direction = 1;
  event_.Src(3).Dst(4);
  EXPECT_EQ(Traces(),
            (Strings{"IP {x4:3} not equal to {x4:a000001}", "IP {x4:4} not equal to {x4:a000001}",
                     "IP/ID/port mismatched(dir=1)"}));
  ExpectLogged(5, "IP/ID/port mismatched(dir=1)", [this] { Matches(); });
}

TEST_F(MatchEndpoints, BothDirectionsTestSourceThenDestinationEachWay) {
  query_.m_Direction = 1;
  event_.Src(0x0a000001).Dst(0x0a000001);
  EXPECT_EQ(Traces(),
            (Strings{"IP {x4:a000001} not equal to {x4:a000002}",
                     "IP {x4:a000001} not equal to {x4:a000002}", "IP/ID/port mismatched(dir=1)"}));
}

TEST_F(MatchEndpoints, MatchTheOtherWayRoundTracesTheFirstAttempt) {
  query_.m_Direction = 1;
  Swap();
  EXPECT_EQ(Traces().front(), "IP {x4:a000002} not equal to {x4:a000001}");
  EXPECT_EQ(Traces().back(), "final pass");
  EXPECT_EQ(Traces().size(), 3u);
}

}  // namespace
}  // namespace packetdb::test
