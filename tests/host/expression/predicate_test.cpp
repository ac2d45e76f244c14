// Which rows satisfy the conditions.
#include "host/expression/predicate.h"

#include <gmock/gmock.h>

#include "host/sources/event.h"
#include "tests/host/expression/support.h"

namespace packetdb::host::expression::test {
namespace {

TEST(Predicate, EmptyExpressionMatchesEverything) {
  EXPECT_TRUE(Matches("", RowMaker()));
  EXPECT_TRUE(Matches("ip", RowMaker()));
  EXPECT_FALSE(Matches("not ip", RowMaker()));
}

TEST(Predicate, HostIsEitherEndUnlessItSaysWhich) {
  EXPECT_TRUE(Matches("host 10.0.0.1", Ssh()) && Matches("host 10.0.0.2", Ssh()));
  EXPECT_TRUE(Matches("src host 10.0.0.1", Ssh()));
  EXPECT_FALSE(Matches("dst host 10.0.0.1", Ssh()));
  EXPECT_FALSE(Matches("src and dst host 10.0.0.1", Ssh()));
  EXPECT_TRUE(Matches("src and dst net 10.0.0.0/30", Ssh()));
}

TEST(Predicate, AddressZeroAndPortZeroAreNotAny) {
  EXPECT_FALSE(Matches("host 0.0.0.0", Ssh()));
  EXPECT_TRUE(Matches("host 0.0.0.0", RowMaker()));
  EXPECT_FALSE(Matches("port 0", Ssh()));
}

TEST(Predicate, PortsAreThoseOfTcpUdpAndSctp) {
  constexpr std::uint8_t kWithPorts[] = {6, 17, 132};
  constexpr std::uint8_t kOthers[] = {0, 1, 33, 47, 136};
  for (const std::uint8_t protocol : kWithPorts) {
    EXPECT_TRUE(Matches("port 22", Ssh().Protocol(protocol))) << int{protocol};
  }
  for (const std::uint8_t protocol : kOthers) {
    EXPECT_FALSE(Matches("port 22", Ssh().Protocol(protocol))) << int{protocol};
    EXPECT_TRUE(Matches("not port 22", Ssh().Protocol(protocol))) << int{protocol};
  }
  EXPECT_FALSE(Matches("udp port 22", Ssh()));
}

TEST(Predicate, LaterFragmentsHaveNoPortsAndNoIcmpType) {
  EXPECT_FALSE(Matches("port 0", RowMaker().Protocol(17).Flags(kFlagLaterFragment)));
  EXPECT_TRUE(Matches("port 0", RowMaker().Protocol(17)));
  EXPECT_FALSE(Matches("icmptype 0", RowMaker().Protocol(1).Flags(kFlagLaterFragment)));
  EXPECT_TRUE(Matches("udp", RowMaker().Protocol(17).Flags(kFlagLaterFragment)));
}

TEST(Predicate, UnequalIsTheNegationOfEqual) {
  EXPECT_FALSE(Matches("port != 22", Ssh()));
  EXPECT_TRUE(Matches("port != 23", Ssh()));
  EXPECT_TRUE(Matches("port != 22", RowMaker().Protocol(1)));
  EXPECT_FALSE(Matches("port not in [21 22]", Ssh()));
}

TEST(Predicate, IcmpTypeAndCodeAreOfIcmpOnly) {
  EXPECT_TRUE(Matches("icmptype 3 and icmpcode 1", RowMaker().Icmp(3, 1)));
  EXPECT_FALSE(Matches("icmptype 3 and icmpcode 1", RowMaker().Icmp(1, 3)));
  EXPECT_FALSE(Matches("icmptype 0", RowMaker().Protocol(6)));
  EXPECT_TRUE(Matches("icmptype > 2", RowMaker().Icmp(3, 1)));
}

TEST(Predicate, FlagWantsAllOfItsBitsAndAListOneOfItsFlags) {
  EXPECT_TRUE(Matches("flag 0x21", RowMaker().Flags(0x31)));
  EXPECT_FALSE(Matches("flag 0x21", RowMaker().Flags(0x11)));
  EXPECT_TRUE(Matches("flag [dropped rejected]", RowMaker().Flags(kFlagRejected)));
  EXPECT_FALSE(Matches("flag [dropped rejected]", RowMaker().Flags(kFlagAccepted)));
}

TEST(Predicate, TwinFlagsCountAsOneAsInQueries) {
  EXPECT_TRUE(Matches("flag 0x800000", RowMaker().Flags(0x01000000)));
  EXPECT_FALSE(Matches("not flag 0x1000000", RowMaker().Flags(0x00800000)));
  EXPECT_FALSE(Matches("flag 0x800000", RowMaker().Flags(0x02000000)));
}

TEST(Predicate, ForwardedIsInboundAndOutboundAndADirectionOfItsOwn) {
  const RowMaker forwarded = RowMaker().Flags(kFlagIn | kFlagOut | kFlagAccepted);
  EXPECT_TRUE(Matches("inbound and outbound and dir forward", forwarded));
  EXPECT_FALSE(Matches("dir in or dir out", forwarded));
  EXPECT_TRUE(Matches("dir in", RowMaker().Flags(kFlagIn)));
  EXPECT_FALSE(Matches("dir [in out forward]", RowMaker()));
}

TEST(Predicate, EventsByCodeNameRangeAndGroup) {
  EXPECT_TRUE(Matches("event dropped", RowMaker().Code(1)));
  EXPECT_TRUE(Matches("event 1-3", RowMaker().Code(3)));
  EXPECT_TRUE(Matches("group -3", RowMaker().Code(118)));
  EXPECT_FALSE(Matches("group -3", RowMaker().Code(20)));
  EXPECT_TRUE(Matches("group -2", RowMaker().Code(20)));
  EXPECT_TRUE(Matches("group -1", RowMaker().Code(114))) << "every code, as in a query";
}

TEST(Predicate, RulesByPrefixPatternAndNumber) {
  const RowMaker row = RowMaker().Flags(1U << kRuleShift | kFlagDropped);
  EXPECT_TRUE(Matches("rule pdb:input:12:drop", row) && Matches("rule pdb:*", row));
  EXPECT_TRUE(Matches("rule 1", row));
  EXPECT_FALSE(Matches("rule 'fw \"web\": '", row) || Matches("rule 2", row));
  EXPECT_TRUE(Matches("rule 0", RowMaker().Flags(kFlagDropped)));
}

TEST(Predicate, NodesByNumberAndName) {
  EXPECT_TRUE(Matches("src node office and dst node 'guest lan'", RowMaker().Nodes(3, 4)));
  EXPECT_TRUE(Matches("node 7", RowMaker().Nodes(0, 7)));
  EXPECT_TRUE(Matches("node '7'", RowMaker().Nodes(9, 0))) << "in quotes it is a name";
  EXPECT_TRUE(Matches("src and dst node 0", RowMaker()));
}

TEST(Predicate, InterfacesByNameAndPattern) {
  EXPECT_TRUE(Matches("iface eth*", RowMaker().On("eth0")));
  EXPECT_FALSE(Matches("iface eth", RowMaker().On("eth0")));
  EXPECT_FALSE(Matches("iface eth*", RowMaker())) << "nobody knows which";
}

TEST(Predicate, SumsAreComparedAndScaledBy1024) {
  const RowMaker row = RowMaker().Sums(100, 1 << 20);
  EXPECT_TRUE(Matches("count 100 and count >= 100 and count <= 100 and packets < 101", row));
  EXPECT_FALSE(Matches("count > 100", row));
  EXPECT_TRUE(Matches("bytes >= 1M and bytes = 1024k", row));
  EXPECT_FALSE(Matches("bytes > 1M", row));
}

TEST(Predicate, ManyConditionsStopAtTheFirstThatDecides) {
  EXPECT_TRUE(
      Matches("(tcp and port 23) or (udp or port 22) and not (host 10.0.0.9 or icmp)", Ssh()));
  EXPECT_FALSE(Matches("not (tcp and (port 22 or port 23))", Ssh()));
}

}  // namespace
}  // namespace packetdb::host::expression::test
