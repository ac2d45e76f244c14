#include "host/cli/parse_endpoint.h"

#include <gtest/gtest.h>

#include "host/cli/usage_error.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

using Addresses = Range<std::uint32_t>;
using Ports = Range<std::uint16_t>;

std::string AddressError(const char* text) {
  return WhatOf<UsageError>([&] { ParseAddresses(text); });
}

std::string PortError(const char* text) {
  return WhatOf<UsageError>([&] { ParsePorts(text); });
}

TEST(AddressCriterion, IsOneAddress) {
  EXPECT_EQ(ParseAddresses("10.0.0.7"), (Addresses{0x0A000007, 0}));
  EXPECT_EQ(ParseAddresses("255.255.255.255"), (Addresses{0xFFFFFFFF, 0}));
}

TEST(AddressCriterion, IsANetwork) {
  EXPECT_EQ(ParseAddresses("10.0.0.0/8"), (Addresses{0x0A000000, 0x0AFFFFFF}));
  EXPECT_EQ(ParseAddresses("192.168.1.128/25"), (Addresses{0xC0A80180, 0xC0A801FF}));
  EXPECT_EQ(ParseAddresses("10.0.0.6/31"), (Addresses{0x0A000006, 0x0A000007}));
  EXPECT_EQ(ParseAddresses("0.0.0.0/0"), (Addresses{0, 0xFFFFFFFF}));
}

TEST(AddressCriterion, IsOneAddressWhereTheNetworkIs) {
  EXPECT_EQ(ParseAddresses("10.0.0.7/32"), (Addresses{0x0A000007, 0}));
}

TEST(AddressCriterion, IsARange) {
  EXPECT_EQ(ParseAddresses("10.0.0.1-10.0.0.9"), (Addresses{0x0A000001, 0x0A000009}));
  EXPECT_EQ(ParseAddresses("0.0.0.0-0.0.0.1"), (Addresses{0, 1}));
  EXPECT_EQ(ParseAddresses("10.0.0.1-10.0.0.1"), (Addresses{0x0A000001, 0}));
}

TEST(AddressCriterion, IsRefusedWhenItIsNoAddress) {
  EXPECT_EQ(AddressError("10.0.0"),
            "'10.0.0' is not an IPv4 address: give 10.0.0.7, 10.0.0.0/8 or 10.0.0.1-10.0.0.9");
  for (const char* text : {"", "10.0.0.256", "10.0.0.7 ", "host", "::1", "-10.0.0.1", "10.0.0.1-",
                           "10.0.0.1-9", "/8", "010.0.0.1", "10.0.0.1-10.0.0.2-10.0.0.3"}) {
    EXPECT_TRUE(AddressError(text).find("is not an IPv4 address") != std::string::npos) << text;
  }
}

TEST(AddressCriterion, IsRefusedForBadNetworkBits) {
  EXPECT_EQ(AddressError("10.0.0.0/33"),
            "'10.0.0.0/33' is not a network: behind '/' goes a number of bits from 0 to 32");
  for (const char* text : {"10.0.0.0/", "10.0.0.0/x", "10.0.0.0/-1", "10.0.0.0/8/8",
                           "10.0.0.0/255.0.0.0", "10.0.0.0/8-11.0.0.0/8"}) {
    EXPECT_TRUE(AddressError(text).find("is not a network: behind '/'") != std::string::npos)
        << text;
  }
}

TEST(AddressCriterion, IsRefusedForAnAddressInsideItsNetwork) {
  EXPECT_EQ(AddressError("10.0.0.1/8"),
            "'10.0.0.1/8' is not a network: the address has bits set beyond /8");
  EXPECT_EQ(AddressError("0.0.0.1/0"),
            "'0.0.0.1/0' is not a network: the address has bits set beyond /0");
}

TEST(AddressCriterion, IsRefusedForAnEmptyRange) {
  EXPECT_EQ(AddressError("10.0.0.9-10.0.0.1"),
            "the range '10.0.0.9-10.0.0.1' is empty: its first is above its last");
  EXPECT_EQ(AddressError("10.0.0.9-0.0.0.0"),
            "the range '10.0.0.9-0.0.0.0' is empty: its first is above its last");
}

TEST(AddressCriterion, IsRefusedForTheAddressThatMeansAny) {
  EXPECT_EQ(AddressError("0.0.0.0"),
            "'0.0.0.0' cannot be asked for alone: a query takes 0 for any");
  EXPECT_EQ(AddressError("0.0.0.0/32"),
            "'0.0.0.0/32' cannot be asked for alone: a query takes 0 for any");
  EXPECT_EQ(AddressError("0.0.0.0-0.0.0.0"),
            "'0.0.0.0-0.0.0.0' cannot be asked for alone: a query takes 0 for any");
}

TEST(PortCriterion, IsOnePort) {
  EXPECT_EQ(ParsePorts("443"), (Ports{443, 0}));
  EXPECT_EQ(ParsePorts("65535"), (Ports{65535, 0}));
}

TEST(PortCriterion, IsARange) {
  EXPECT_EQ(ParsePorts("8000-8100"), (Ports{8000, 8100}));
  EXPECT_EQ(ParsePorts("0-1023"), (Ports{0, 1023}));
  EXPECT_EQ(ParsePorts("80-80"), (Ports{80, 0}));
}

TEST(PortCriterion, IsRefusedWhenItIsNoPort) {
  EXPECT_EQ(PortError("65536"), "'65536' is not a port: give a number from 1 to 65535, or FROM-TO");
  for (const char* text : {"", "http", "-1", "80-", "80-x", "1-2-3", "80 "}) {
    EXPECT_TRUE(PortError(text).find("is not a port") != std::string::npos) << text;
  }
}

TEST(PortCriterion, IsRefusedForAnEmptyRange) {
  EXPECT_EQ(PortError("90-80"), "the range '90-80' is empty: its first is above its last");
}

TEST(PortCriterion, IsRefusedForThePortThatMeansAny) {
  EXPECT_EQ(PortError("0"), "'0' cannot be asked for alone: a query takes 0 for any");
}

}  // namespace
}  // namespace packetdb::host::test
