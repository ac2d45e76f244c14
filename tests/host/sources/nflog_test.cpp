#include "host/sources/nflog.h"

#include <gmock/gmock.h>
#include <string>

#include "tests/host/sources/decode.h"

namespace packetdb::host::test {
namespace {

std::string Event(const std::string& interface, const std::string& flags, int code = 60) {
  return interface + " 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags " + flags + " code " +
         std::to_string(code) + " size 32 at 5";
}

// Through a hook, in by interface 2 and out by interface 3.
std::string Through(std::uint8_t hook) { return Decode(ParseNflog, FullNflog(hook, 2, 3, "")); }

TEST(Nflog, HookGivesDirectionAndInterface) {
  EXPECT_EQ(Through(kPrerouting), Event("if2", "0x1"));
  EXPECT_EQ(Through(kInput), Event("if2", "0x1"));
  EXPECT_EQ(Through(kForward), Event("if2", "0x3"));
  EXPECT_EQ(Through(kOutput), Event("if3", "0x2"));
  EXPECT_EQ(Through(kPostrouting), Event("if3", "0x2"));
  EXPECT_EQ(Through(kIngress), Event("if2", "0x1"));
}

TEST(Nflog, UnknownHookGivesNoDirection) { EXPECT_EQ(Through(77), Event("if2", "0x0")); }

TEST(Nflog, FallsBackToTheOutgoingInterfaceWhereNoneIsIncoming) {
  EXPECT_EQ(Decode(ParseNflog, FullNflog(kInput, 0, 3, "")), Event("if3", "0x1"));
  EXPECT_EQ(Decode(ParseNflog, FullNflog(kForward, 0, 3, "")), Event("if3", "0x3"));
}

TEST(Nflog, NoIndexIsTheDefaultInterface) {
  EXPECT_EQ(Decode(ParseNflog, FullNflog(kInput, 0, 0, "")), Event("capture", "0x1"));
  EXPECT_EQ(Decode(ParseNflog, FullNflog(kOutput, 2, 0, "")), Event("capture", "0x2"));
}

TEST(Nflog, NamesInterfacesFromTheOptions) {
  CaptureOptions options;
  options.interfaces.by_index[2] = "eth0";
  EXPECT_EQ(Decode(ParseNflog, FullNflog(kInput, 2, 0, ""), options), Event("eth0", "0x1"));
}

TEST(Nflog, WithoutPacketHeaderThereIsNoDirection) {
  const Bytes record =
      Nflog(kFamilyIpv4, Attribute(kTypeIndexIn, Big(2U)) + Attribute(kTypePayload, Udp()));
  EXPECT_EQ(Decode(ParseNflog, record), Event("if2", "0x0"));
}

TEST(Nflog, PrefixGivesVerdictAndCode) {
  EXPECT_EQ(Decode(ParseNflog, FullNflog(kInput, 2, 0, "pdb:input:12:drop")),
            Event("if2", "0x21", 1));
  EXPECT_EQ(Decode(ParseNflog, FullNflog(kForward, 2, 3, "pdb:fwd:9:reject:77")),
            Event("if2", "0x43", 77));
}

TEST(Nflog, PrefixEndsAtItsNulOrItsLength) {
  const Bytes payload = Attribute(kTypePayload, Udp());
  const auto with_prefix = [&payload](const Bytes& prefix) {
    return Decode(ParseNflog, Nflog(kFamilyIpv4, Attribute(kTypePrefix, prefix) + payload));
  };
  EXPECT_EQ(with_prefix(Text("pdb:a:b:accept")), Event("capture", "0x10", 40));
  EXPECT_EQ(with_prefix(Text("pdb:a:b:accept") + Bytes{0, 'x', 0}), Event("capture", "0x10", 40));
  EXPECT_EQ(with_prefix(Zeros(1)), Event("capture", "0x0", 60));
  EXPECT_EQ(with_prefix({}), Event("capture", "0x0", 60));
}

TEST(Nflog, PassesOverUnknownTypes) {
  const Bytes record =
      Nflog(kFamilyIpv4, Attribute(0, {}) + Attribute(0x3ff0, Bytes(33, 0xff)) +
                             Attribute(21, Zeros(3)) + Attribute(kTypePayload, Udp()));
  EXPECT_EQ(Decode(ParseNflog, record), Event("capture", "0x0"));
}

TEST(Nflog, IgnoresTheBitsThatNetlinkKeepsInTypes) {
  const Bytes record = Nflog(kFamilyIpv4, Attribute(0x8000 | kTypeIndexIn, Big(2U)) +
                                              Attribute(0x4000 | kTypePayload, Udp()));
  EXPECT_EQ(Decode(ParseNflog, record), Event("if2", "0x0"));
}

TEST(Nflog, PayloadLengthStandsForTotalLengthZero) {
  const Bytes record = FullNflog(kInput, 2, 0, "", Ipv4{.total_length = 0}.Build());
  EXPECT_EQ(Decode(ParseNflog, record), Event("if2", "0x1"));
}

TEST(Nflog, CountsOtherFamilies) {
  const auto of_family = [](std::uint8_t family) {
    return Decode(ParseNflog, Nflog(family, Attribute(kTypePayload, Udp())));
  };
  EXPECT_EQ(of_family(kFamilyIpv6), "IPv6 x1");
  EXPECT_EQ(of_family(kFamilyArp), "ARP x1");
  EXPECT_EQ(of_family(12), "NFLOG record of another family x1");
  EXPECT_EQ(of_family(kFamilyBridge), "NFLOG record of another family x1");
}

TEST(Nflog, BridgeAndDeviceRecordsTellTheirProtocol) {
  const auto record = [](std::uint8_t family, std::uint8_t hook, std::uint16_t ether_type) {
    return Decode(ParseNflog,
                  Nflog(family, Attribute(kTypePacketHeader, PacketHeader(hook, ether_type)) +
                                    Attribute(kTypePayload, Udp())));
  };
  EXPECT_EQ(record(kFamilyBridge, kForward, 0x0800), Event("capture", "0x3"));
  EXPECT_EQ(record(kFamilyBridge, kForward, 0x86dd), "IPv6 x1");
  EXPECT_EQ(record(kFamilyNetdev, 0, 0x0806), "ARP x1");
  EXPECT_EQ(record(kFamilyNetdev, 0, 0x8100), "NFLOG record of another family x1");
}

TEST(Nflog, DeviceHooksAreInAndOut) {
  const auto record = [](std::uint8_t hook) {
    return Decode(ParseNflog,
                  Nflog(kFamilyNetdev, Attribute(kTypePacketHeader, PacketHeader(hook)) +
                                           Attribute(kTypePayload, Udp())));
  };
  EXPECT_EQ(record(0), Event("capture", "0x1"));
  EXPECT_EQ(record(1), Event("capture", "0x2"));
  EXPECT_EQ(record(2), Event("capture", "0x0"));
}

TEST(Nflog, SkipsARecordWithoutPacketBytes) {
  EXPECT_EQ(Decode(ParseNflog, Nflog(kFamilyIpv4, {})), "NFLOG record without packet bytes x1");
  EXPECT_EQ(Decode(ParseNflog, FullNflog(kInput, 2, 0, "", {})),
            "NFLOG record without packet bytes x1");
}

TEST(Nflog, CountsOtherVersionsBehindAnIpv4Record) {
  EXPECT_EQ(Decode(ParseNflog, FullNflog(kInput, 2, 0, "", Bytes{0x60} + Zeros(39))),
            "IP version is not 4 x1");
}

TEST(Nflog, CountsACopyRangeBelowTheHeader) {
  EXPECT_EQ(Decode(ParseNflog, FullNflog(kInput, 2, 0, "", FirstOf(Udp(), 16))),
            "IPv4 header truncated x1");
}

}  // namespace
}  // namespace packetdb::host::test
