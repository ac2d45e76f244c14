// What is kept out of the journals: [[exclusion]].
#include <gmock/gmock.h>

#include "tests/host/config/support.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

std::string ProblemWith(const std::string& key) {
  return ProblemOf("[[exclusion]]\nname = \"x\"\n" + key + "\n");
}

TEST(Exclusions, TakeEveryKey) {
  const Configuration configuration = Read(R"(
[[exclusion]]
name = "noise"
action = "drop"
prefix = "noise*"
addresses = ["10.0.0.7", "10.1.0.0/16", "10.2.0.1-10.2.0.9"]
ports = [53, "8000-8100"]
protocols = ["udp", 132]
)");
  ASSERT_EQ(configuration.exclusions.size(), 1U);
  const ExclusionSettings& exclusion = configuration.exclusions[0];
  EXPECT_EQ(exclusion.name, "noise");
  EXPECT_EQ(exclusion.action, ExclusionSettings::Action::kDrop);
  EXPECT_EQ(exclusion.prefix, "noise*");
  EXPECT_THAT(exclusion.addresses,
              ElementsAre(ExclusionSettings::Addresses{0x0A000007, 0x0A000007},
                          ExclusionSettings::Addresses{0x0A010000, 0x0A01FFFF},
                          ExclusionSettings::Addresses{0x0A020001, 0x0A020009}));
  EXPECT_THAT(exclusion.ports,
              ElementsAre(ExclusionSettings::Ports{53, 53}, ExclusionSettings::Ports{8000, 8100}));
  EXPECT_THAT(exclusion.protocols, ElementsAre(17, 132));
}

TEST(Exclusions, CountUnderTheirNameWhereNoActionIsGiven) {
  EXPECT_EQ(Read("[[exclusion]]\nname = \"x\"\nports = [53]\n").exclusions[0].action,
            ExclusionSettings::Action::kCount);
  EXPECT_EQ(ProblemWith("ports = [53]\naction = \"hide\""),
            "c.toml:4:10: action = \"hide\": give one of \"count\", \"drop\", such as \"count\"");
}

TEST(Exclusions, NeedAConditionAndAName) {
  EXPECT_EQ(ProblemWith(""),
            "c.toml:1:1: [[exclusion]]: it would exclude everything; give a prefix, addresses, "
            "ports or protocols");
  EXPECT_EQ(ProblemWith("ports = []"),
            "c.toml:1:1: [[exclusion]]: it would exclude everything; give a prefix, addresses, "
            "ports or protocols");
  EXPECT_EQ(ProblemOf("[[exclusion]]\nports = [53]\n"),
            "c.toml:1:1: [[exclusion]] has no 'name': give a name of 1 to 31 letters, digits, '_', "
            "'-' or '.', not in front, such as \"lan\"");
}

TEST(Exclusions, OneNameIsThereOnce) {
  EXPECT_EQ(ProblemOf("[[exclusion]]\nname = \"x\"\nports = [53]\n"
                      "[[exclusion]]\nname = \"x\"\nports = [54]\n"),
            "c.toml:5:8: name = \"x\" is there already, at c.toml:2:8");
}

TEST(Exclusions, AddressesAreAddressesNetworksAndRanges) {
  constexpr const char* kEnd =
      "give a list of addresses, networks and ranges of addresses, IPv4, such as [\"10.0.0.7\", "
      "\"10.1.0.0/16\", \"10.2.0.1-10.2.0.9\"]";
  EXPECT_EQ(ProblemWith("addresses = [\"10.0.0.1/8\"]"),
            std::string("c.toml:3:14: addresses = \"10.0.0.1/8\": it has bits behind its prefix, "
                        "the network is 10.0.0.0/8; ") +
                kEnd);
  EXPECT_EQ(
      ProblemWith("addresses = [\"10.0.0.9-10.0.0.1\"]"),
      std::string("c.toml:3:14: addresses = \"10.0.0.9-10.0.0.1\": its first address is above "
                  "its last; ") +
          kEnd);
  EXPECT_EQ(ProblemWith("addresses = [\"::1\"]"),
            std::string("c.toml:3:14: addresses = \"::1\": ") + kEnd);
  EXPECT_EQ(ProblemWith("addresses = [10]"), std::string("c.toml:3:14: addresses = 10: ") + kEnd);
}

TEST(Exclusions, PortsAreNumbersAndRanges) {
  constexpr const char* kEnd =
      "give a list of ports from 1 to 65535 and ranges of them, such as [53, \"8000-8100\"]";
  EXPECT_EQ(ProblemWith("ports = [0]"),
            std::string("c.toml:3:10: ports = 0: that is too small; ") + kEnd);
  EXPECT_EQ(ProblemWith("ports = [53, 65536]"),
            std::string("c.toml:3:14: ports = 65536: that is too large; ") + kEnd);
  EXPECT_EQ(ProblemWith("ports = [\"53\"]"),
            std::string("c.toml:3:10: ports = \"53\": a single port is a number; ") + kEnd);
  EXPECT_EQ(ProblemWith("ports = [\"0-53\"]"),
            std::string("c.toml:3:10: ports = \"0-53\": ") + kEnd);
  EXPECT_EQ(ProblemWith("ports = [\"53-65536\"]"),
            std::string("c.toml:3:10: ports = \"53-65536\": ") + kEnd);
  EXPECT_EQ(
      ProblemWith("ports = [\"54-53\"]"),
      std::string("c.toml:3:10: ports = \"54-53\": its first port is above its last; ") + kEnd);
  EXPECT_EQ(ProblemWith("ports = 53"), std::string("c.toml:3:9: ports = 53: ") + kEnd);
}

TEST(Exclusions, ProtocolsAreNamesAndNumbers) {
  constexpr const char* kEnd =
      "give a list of names and numbers of IP protocols, such as [\"udp\", 132]";
  EXPECT_EQ(ProblemWith("protocols = [\"upd\"]"),
            std::string("c.toml:3:14: protocols = \"upd\": the names are icmp, igmp, ipip, tcp, "
                        "udp, dccp, gre, esp, ah, ospf, pim, vrrp, sctp, udplite; ") +
                kEnd);
  EXPECT_EQ(ProblemWith("protocols = [256]"),
            std::string("c.toml:3:14: protocols = 256: that is too large; ") + kEnd);
  EXPECT_EQ(ProblemWith("protocols = [\"udp\", 17]"),
            std::string("c.toml:3:21: protocols = 17: it is there twice; ") + kEnd);
  EXPECT_EQ(Read("[[exclusion]]\nname = \"x\"\nprotocols = [0, 255]\n").exclusions[0].protocols,
            (std::vector<std::uint8_t>{0, 255}));
}

TEST(Exclusions, AConditionHasAtMost1024Values) {
  std::string ports;
  for (int i = 1; i <= 1025; ++i) ports += std::to_string(i) + ",\n";
  EXPECT_EQ(ProblemWith("ports = [\n" + ports + "]"),
            "c.toml:1028:1: ports = 1025: these are too many; give a list of ports from 1 to 65535 "
            "and ranges of them, such as [53, \"8000-8100\"]");
}

TEST(Exclusions, AreAtMost64) {
  std::string text;
  for (int i = 0; i < 65; ++i) {
    text += "[[exclusion]]\nname = \"x" + std::to_string(i) + "\"\nports = [53]\n";
  }
  EXPECT_EQ(ProblemOf(text), "c.toml:193:1: there are more than 64 of [[exclusion]]");
}

}  // namespace
}  // namespace packetdb::host::test
