// What the daemon is asked, what is left, and what people are told of it.
#include "host/expression/split.h"

#include <gmock/gmock.h>

#include "host/expression/explain.h"
#include "host/expression/printer.h"
#include "host/sources/event.h"
#include "tests/host/expression/support.h"

namespace packetdb::host::expression::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Division Divided(const std::string& expression) { return Split(Parse(expression, TestNames())); }

std::string Explained(const std::string& expression) {
  return Explain(Divided(expression), TestNames());
}

std::string Rest(const std::string& expression) {
  return Print(Divided(expression).rest, TestNames());
}

TEST(Split, AsksForOneWayExactly) {
  const Division divided = Divided("src host 10.0.0.1 and dst net 10.1.0.0/16 and tcp dst port 22");
  EXPECT_EQ(divided.query.m_IpSrcFrom, 0x0A000001u);
  EXPECT_EQ(divided.query.m_IpSrcTo, 0u);
  EXPECT_EQ(divided.query.m_IpDstFrom, 0x0A010000u);
  EXPECT_EQ(divided.query.m_IpDstTo, 0x0A01FFFFu);
  EXPECT_EQ(divided.query.m_PortDstFrom, 22);
  EXPECT_THAT(divided.query.m_Protocols, ElementsAre(6));
  EXPECT_EQ(divided.query.m_FlagsNotWanted, std::uint32_t{kFlagLaterFragment});
  EXPECT_TRUE(IsEverything(divided.rest));
}

TEST(Split, AsksForEitherEndBySwapping) {
  const Division divided = Divided("host 10.0.0.1 and host 10.0.0.2");
  EXPECT_EQ(divided.query.m_Direction, 1);
  EXPECT_EQ(divided.query.m_IpSrcFrom, 0x0A000001u);
  EXPECT_EQ(divided.query.m_IpDstFrom, 0x0A000002u);
  EXPECT_TRUE(IsEverything(divided.rest));
}

TEST(Split, AddressAndPortOfEitherEndAreNotOnePair) {
  const Division divided = Divided("host 10.0.0.1 and port 53");
  EXPECT_EQ(divided.query.m_IpSrcFrom, 0x0A000001u);
  EXPECT_EQ(divided.query.m_PortSrcFrom, 0);
  EXPECT_EQ(divided.query.m_PortDstFrom, 0);
  EXPECT_THAT(divided.query.m_Protocols, ElementsAre(6, 17, 132)) << "which have ports";
  EXPECT_EQ(Print(divided.rest, TestNames()), "port 53");
}

TEST(Split, NetworksThatOverlapAreNotOnePairEither) {
  EXPECT_EQ(Rest("net 10.0.0.0/8 and host 10.0.0.1"), "");
  EXPECT_EQ(Rest("net 10.0.0.0/30 and host 10.0.0.2-10.0.0.9"), "host 10.0.0.2-10.0.0.9");
}

TEST(Split, EndThatIsTakenLeavesTheOther) {
  const Division divided = Divided("src host 10.0.0.1 and host 10.0.0.2");
  EXPECT_EQ(divided.query.m_Direction, 0);
  EXPECT_EQ(divided.query.m_IpDstFrom, 0x0A000002u);
  EXPECT_TRUE(IsEverything(divided.rest));
}

TEST(Split, AlternativesAreAskedForByWhatTheyHaveInCommon) {
  const Division divided =
      Divided("src host 10.0.0.1 and tcp dst port 22 or src host 10.0.0.3 and udp dst port 53");
  EXPECT_EQ(divided.query.m_IpSrcFrom, 0x0A000001u);
  EXPECT_EQ(divided.query.m_IpSrcTo, 0x0A000003u);
  EXPECT_EQ(divided.query.m_PortDstFrom, 22);
  EXPECT_EQ(divided.query.m_PortDstTo, 53);
  EXPECT_THAT(divided.query.m_Protocols, ElementsAre(6, 17));
  EXPECT_FALSE(IsEverything(divided.rest));
}

TEST(Split, AlternativesOfOneFieldAreExact) {
  EXPECT_EQ(Rest("event dropped or event rejected"), "");
  EXPECT_EQ(Rest("src host 10.0.0.1 or src host 10.0.0.2"), "");
  EXPECT_EQ(Rest("src host 10.0.0.1 or 10.0.0.3"), "src host 10.0.0.1 or src host 10.0.0.3");
}

TEST(Split, ZeroCannotBeAskedFor) {
  for (const char* expression : {"src host 0.0.0.0", "tcp dst port 0", "src node 0", "event 0"}) {
    EXPECT_EQ(Rest(expression), expression);
  }
  EXPECT_EQ(Rest("event 0"), "event 0");
}

TEST(Split, ProtocolsThatAListCannotNameAreLeftOver) {
  EXPECT_THAT(Divided("proto 255").query.m_Protocols, ElementsAre(255));
  EXPECT_EQ(Rest("proto 255"), "proto 255");
  EXPECT_THAT(Divided("not proto [icmp tcp udp]").query.m_Protocols, ElementsAre(255));
  EXPECT_EQ(Rest("not proto [icmp tcp udp]"), "");
  EXPECT_EQ(Rest("not tcp"), "");
}

TEST(Split, CodesThatWouldBeGroupsAreLeftOver) {
  EXPECT_THAT(Divided("event 4294967293").query.m_Errcodes, IsEmpty());
  EXPECT_EQ(Rest("event 4294967293"), "event 4294967293");
  EXPECT_EQ(Divided("group -3").query.m_Errcodes.size(), 19u);
  EXPECT_EQ(Rest("group -3"), "");
}

TEST(Split, FlagsAreAskedForBitByBit) {
  const Division divided = Divided("flag dropped and not flag in and not flag 0x30");
  EXPECT_EQ(divided.query.m_FlagsWanted, std::uint32_t{kFlagDropped});
  EXPECT_EQ(divided.query.m_FlagsNotWanted, std::uint32_t{kFlagIn});
  EXPECT_EQ(Print(divided.rest, TestNames()), "not flag 0x30");
}

TEST(Split, RuleIsAPatternOfFlags) {
  const Division divided = Divided("rule pdb:input:12:drop");
  EXPECT_EQ(divided.query.m_FlagsWanted, 1U << kRuleShift);
  EXPECT_EQ(divided.query.m_FlagsNotWanted, kRuleMask & ~(1U << kRuleShift));
  EXPECT_TRUE(IsEverything(divided.rest));
  EXPECT_EQ(Rest("rule [1 2]"), "rule in [1 2]");
}

TEST(Split, WhatCannotBeIsNotAskedFor) {
  for (const char* expression : {"src host 10.0.0.1 and src host 10.0.0.2", "tcp and udp", "not ip",
                                 "flag in and not flag in", "icmp and port 53"}) {
    EXPECT_TRUE(Divided(expression).never) << expression;
    EXPECT_GT(Divided(expression).query.m_IpSrcFrom, Divided(expression).query.m_IpSrcTo);
  }
  EXPECT_FALSE(Divided("tcp").never);
}

TEST(Split, InterfacesAreForWhoeverAsks) {
  const Division divided = Divided("iface eth* and not iface eth1 and tcp");
  EXPECT_THAT(divided.interface_patterns, ElementsAre("eth*"));
  EXPECT_TRUE(divided.WantsInterface("eth0"));
  EXPECT_FALSE(divided.WantsInterface("eth1") || divided.WantsInterface("wan"));
  EXPECT_TRUE(IsEverything(divided.rest));
  EXPECT_FALSE(divided.rest_needs_interface);
}

TEST(Split, InterfaceAmongAlternativesHasToBeKnownOfEachRow) {
  const Division divided = Divided("iface eth0 or tcp");
  EXPECT_THAT(divided.interface_patterns, IsEmpty());
  EXPECT_TRUE(divided.WantsInterface("wan"));
  EXPECT_TRUE(divided.rest_needs_interface);
}

TEST(Explain, SaysWhoTestsWhatInTheWordsOfTheExpression) {
  EXPECT_EQ(Explained("event dropped and iface wan"),
            "daemon      event dropped\n"
            "client      (nothing)\n"
            "interfaces  iface wan\n");
  EXPECT_EQ(Explained("host 10.0.0.1 and port 53 and count > 10"),
            "daemon      host 10.0.0.1 and proto in [tcp udp sctp] and not flag later-fragment\n"
            "client      port 53 and count >= 11\n");
  EXPECT_EQ(Explained("bytes >= 1M"),
            "daemon      (nothing: it sends every record)\nclient      bytes >= 1M\n");
  EXPECT_EQ(Explained("tcp and udp"), "daemon      (is not asked: nothing can match)\n");
}

}  // namespace
}  // namespace packetdb::host::expression::test
