// Addresses, networks and ranges.
#include "host/config/networks.h"

#include <gtest/gtest.h>

namespace packetdb::host::test {
namespace {

std::string Shown(std::string_view text) {
  const AddressesOrWhy read = ParseAddressRange(text);
  return read.addresses ? ShowAddressRange(*read.addresses) : "none: " + read.why;
}

TEST(Networks, AreAnAddressAndALength) {
  const NetworkOrWhy read = ParseNetwork("10.1.0.0/16");
  EXPECT_EQ(read.network, 0x0A010000U);
  EXPECT_EQ(read.prefix_length, 16);
  EXPECT_EQ(ParseNetwork("0.0.0.0/0").network, 0U);
  EXPECT_EQ(ParseNetwork("255.255.255.255/32").network, 0xFFFFFFFFU);
}

TEST(Networks, AnAddressAloneIsANetworkOfOne) {
  EXPECT_EQ(ParseNetwork("10.0.0.7").prefix_length, 32);
}

TEST(Networks, BitsBehindThePrefixAreRefused) {
  EXPECT_EQ(ParseNetwork("10.0.0.1/8").why,
            "it has bits behind its prefix, the network is 10.0.0.0/8");
  EXPECT_EQ(ParseNetwork("0.0.0.1/0").why,
            "it has bits behind its prefix, the network is 0.0.0.0/0");
}

TEST(Networks, OtherTextsAreNone) {
  for (const char* text :
       {"", "/", "10.0.0.0/", "10.0.0.0/33", "10.0.0.0/-1", "10.0.0.0/8 ", "10.0.0.0/256",
        "10.0.0/8", "10.0.0.256/32", "010.0.0.0/8x", "::/0", "10.0.0.0/8/8", "a/8"}) {
    EXPECT_EQ(ParseNetwork(text).network, std::nullopt) << text;
  }
}

TEST(Networks, ANulEndsNoAddress) {
  EXPECT_EQ(ParseIpv4(std::string_view("10.0.0.7\0x", 10)), std::nullopt);
}

TEST(AddressRanges, AreAddressesNetworksOrBoth) {
  EXPECT_EQ(Shown("10.0.0.7"), "10.0.0.7/32");
  EXPECT_EQ(Shown("10.0.0.0/8"), "10.0.0.0/8");
  EXPECT_EQ(Shown("0.0.0.0/0"), "0.0.0.0/0");
  EXPECT_EQ(Shown("10.0.0.1-10.0.0.9"), "10.0.0.1-10.0.0.9");
  EXPECT_EQ(Shown("10.0.0.4-10.0.0.7"), "10.0.0.4/30");
  EXPECT_EQ(Shown("10.0.0.4-10.0.0.8"), "10.0.0.4-10.0.0.8");
}

TEST(AddressRanges, HaveTheirFirstBeforeTheirLast) {
  EXPECT_EQ(Shown("10.0.0.9-10.0.0.1"), "none: its first address is above its last");
}

TEST(AddressRanges, OtherTextsAreNone) {
  for (const char* text : {"-", "10.0.0.1-", "-10.0.0.1", "10.0.0.0/8-10.0.0.9", "x"}) {
    EXPECT_EQ(Shown(text), "none: ") << text;
  }
}

}  // namespace
}  // namespace packetdb::host::test
