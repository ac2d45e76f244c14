#include <gtest/gtest.h>

#include "host/cli/criteria.h"
#include "host/cli/usage_error.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

// What is said of criteria in which one text is this.
std::string ErrorOf(std::string Criteria::*text, const std::string& value) {
  Criteria criteria;
  criteria.name = "lan";
  criteria.*text = value;
  return WhatOf<UsageError>([&] { MakeQuery(criteria, 1'000'000'000); });
}

TEST(BadCriteria, AreNamesThatAQueryCannotCarry) {
  EXPECT_EQ(ErrorOf(&Criteria::name, ""),
            "'' cannot be the name of a journal or interface: 1 to 31 bytes");
  const std::string long_name(32, 'x');
  EXPECT_EQ(ErrorOf(&Criteria::name, long_name),
            "'" + long_name + "' cannot be the name of a journal or interface: 1 to 31 bytes");
}

TEST(BadCriteria, AreTimesThatAreNone) {
  for (const auto text : {&Criteria::since, &Criteria::until}) {
    EXPECT_TRUE(ErrorOf(text, "soon").starts_with("'soon' is not a time: "));
    EXPECT_TRUE(ErrorOf(text, "@2147483648").starts_with("'@2147483648' is out of range: "));
  }
}

TEST(BadCriteria, AreTimesInTheWrongOrder) {
  Criteria criteria;
  criteria.name = "lan";
  criteria.since = "@11";
  criteria.until = "@10";
  EXPECT_EQ(WhatOf<UsageError>([&] { MakeQuery(criteria, 0); }),
            "the time range is empty: --since is later than --until");
}

TEST(BadCriteria, AreUntilTheTimeThatMeansNone) {
  EXPECT_EQ(ErrorOf(&Criteria::until, "@0"), "nothing is older than 1970: give a later --until");
}

TEST(BadCriteria, AreLimitsThatAreNoNumber) {
  EXPECT_EQ(ErrorOf(&Criteria::limit, "0"),
            "'0' is not a number of records: give a number from 1 to 4294967295");
  for (const char* value : {"-1", "4294967296", "ten", "1 "}) {
    EXPECT_NE(ErrorOf(&Criteria::limit, value), "nothing was thrown") << value;
  }
}

TEST(BadCriteria, AreNodesThatAreNoNumber) {
  for (const auto text : {&Criteria::src_node, &Criteria::dst_node}) {
    EXPECT_EQ(ErrorOf(text, "0"), "'0' is not a node: give a number from 1 to 4294967295");
    EXPECT_EQ(ErrorOf(text, "x"), "'x' is not a node: give a number from 1 to 4294967295");
  }
}

TEST(BadCriteria, AreAddressesThatAreNone) {
  for (const auto text : {&Criteria::src, &Criteria::dst}) {
    EXPECT_TRUE(ErrorOf(text, "x").starts_with("'x' is not an IPv4 address: "));
    EXPECT_TRUE(ErrorOf(text, "0.0.0.0").starts_with("'0.0.0.0' cannot be asked for alone: "));
  }
}

TEST(BadCriteria, ArePortsThatAreNone) {
  for (const auto text : {&Criteria::src_port, &Criteria::dst_port}) {
    EXPECT_TRUE(ErrorOf(text, "x").starts_with("'x' is not a port: "));
    EXPECT_TRUE(ErrorOf(text, "0").starts_with("'0' cannot be asked for alone: "));
  }
}

TEST(BadCriteria, AreProtocolsThatAreNone) {
  EXPECT_EQ(ErrorOf(&Criteria::protocols, "tcp,xyz"),
            "'xyz' is not a protocol: give icmp, igmp, ipip, tcp, udp, dccp, gre, esp, ah, ospf, "
            "pim, vrrp, sctp, udplite, other, or a number from 1 to 254");
  for (const char* value : {"0", "255", "256", "-1", "tcp,", ",tcp", "TCP", "tcp udp"}) {
    EXPECT_NE(ErrorOf(&Criteria::protocols, value), "nothing was thrown") << value;
  }
}

TEST(BadCriteria, AreEventsThatAreNone) {
  EXPECT_EQ(ErrorOf(&Criteria::events, "1,0"),
            "'0' is not an event: give a code from 1 to 1999, or a group from -1 to -15");
  for (const char* value : {"2000", "-16", "x", "1,", "1.5"}) {
    EXPECT_NE(ErrorOf(&Criteria::events, value), "nothing was thrown") << value;
  }
}

TEST(BadCriteria, AreFlagsThatAreNone) {
  for (const auto text : {&Criteria::flags, &Criteria::not_flags}) {
    EXPECT_EQ(ErrorOf(text, "in,sideways"),
              "'sideways' is not a flag: give in, out, accepted, dropped, rejected, fragment, or "
              "bits as 0x10");
    for (const char* value : {"0", "-1", "0x100000000", "in,", "in out"}) {
      EXPECT_NE(ErrorOf(text, value), "nothing was thrown") << value;
    }
  }
}

TEST(BadCriteria, AreTheSameFlagWantedAndNotWanted) {
  Criteria criteria;
  criteria.name = "lan";
  criteria.flags = "in,out";
  criteria.not_flags = "0x1";
  EXPECT_EQ(WhatOf<UsageError>([&] { MakeQuery(criteria, 0); }),
            "--flags and --not-flags name the same flag: nothing could match");
}

}  // namespace
}  // namespace packetdb::host::test
