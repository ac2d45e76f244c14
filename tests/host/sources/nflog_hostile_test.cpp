#include <gmock/gmock.h>
#include <string>

#include "host/sources/nflog.h"
#include "host/sources/nflog_attributes.h"
#include "tests/host/sources/decode.h"

namespace packetdb::host::test {
namespace {

const std::string kDamaged = "NFLOG record damaged x1";
// A record that starts with a good payload and goes on with `tail`.
std::string PayloadThen(const Bytes& tail, std::size_t missing = 0) {
  const Bytes record = Nflog(kFamilyIpv4, Attribute(kTypePayload, Udp()) + tail);
  return Decode(ParseNflog, record, {}, record.size() + missing);
}

Bytes AttributeHeader(std::uint16_t length, std::uint16_t type) {
  return Ordered(Order::kNative, length) + Ordered(Order::kNative, type);
}

TEST(NflogHostile, LengthBelowTheHeaderIsDamage) {
  for (std::uint16_t length = 0; length < 4; ++length) {
    EXPECT_EQ(PayloadThen(AttributeHeader(length, kTypeMark) + Zeros(4)), kDamaged) << length;
  }
}

TEST(NflogHostile, LengthBeyondTheRecordIsDamage) {
  EXPECT_EQ(PayloadThen(AttributeHeader(9, kTypeMark) + Zeros(4)), kDamaged);
  EXPECT_EQ(PayloadThen(AttributeHeader(0xffff, kTypePayload) + Zeros(4)), kDamaged);
}

TEST(NflogHostile, LengthBeyondTheRecordIsDamageEvenWhereTheCaptureCutIt) {
  EXPECT_EQ(PayloadThen(AttributeHeader(9, kTypeMark) + Zeros(2), 2), kDamaged);
}

TEST(NflogHostile, StrayBytesBehindTheLastAttributeAreDamage) {
  for (std::size_t count = 1; count < 4; ++count) {
    EXPECT_EQ(PayloadThen(Zeros(count)), kDamaged) << count;
  }
}

TEST(NflogHostile, LastAttributeMayLackItsPadding) {
  EXPECT_EQ(PayloadThen(AttributeHeader(5, kTypeMark) + Zeros(1)), kUdpEvent);
  EXPECT_EQ(PayloadThen(AttributeHeader(6, kTypeMark) + Zeros(2)), kUdpEvent);
  EXPECT_EQ(PayloadThen(AttributeHeader(7, kTypeMark) + Zeros(3)), kUdpEvent);
}

TEST(NflogHostile, AttributesBehindOddPaddingAreFound) {
  for (std::size_t odd = 1; odd < 4; ++odd) {
    const Bytes record = Nflog(
        kFamilyIpv4, Attribute(kTypePrefix, Bytes(odd, 'x')) + Attribute(kTypePayload, Udp()));
    EXPECT_EQ(Decode(ParseNflog, record),
              "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x0 code 3 size 32 at 5");
  }
}

TEST(NflogHostile, ValuesTooShortForTheirTypeAreDamage) {
  EXPECT_EQ(PayloadThen(Attribute(kTypePacketHeader, Zeros(3))), kDamaged);
  EXPECT_EQ(PayloadThen(Attribute(kTypeIndexIn, Zeros(3))), kDamaged);
  EXPECT_EQ(PayloadThen(Attribute(kTypeIndexOut, {})), kDamaged);
}

TEST(NflogHostile, OtherVersionIsDamage) {
  EXPECT_EQ(Decode(ParseNflog, Bytes{kFamilyIpv4, 1, 0, 5} + Attribute(kTypePayload, Udp())),
            kDamaged);
}

TEST(NflogHostile, HeaderThatIsCutIsNotOurs) {
  EXPECT_EQ(Decode(ParseNflog, {kFamilyIpv4, 0, 0}), "link header truncated x1");
}

TEST(NflogHostile, PayloadThatTheCaptureCutStillGivesItsEvent) {
  const Bytes record = Nflog(kFamilyIpv4, Attribute(kTypePayload, Udp()));
  EXPECT_EQ(Decode(ParseNflog, FirstOf(record, 4 + 4 + 28), {}, record.size()), kUdpEvent);
}

TEST(NflogHostile, CutPayloadCountsInFullForTotalLengthZero) {
  const Bytes record = Nflog(kFamilyIpv4, Attribute(kTypePayload, Ipv4{.total_length = 0}.Build()));
  EXPECT_EQ(Decode(ParseNflog, FirstOf(record, 4 + 4 + 28), {}, record.size()), kUdpEvent);
}

TEST(NflogHostile, ValueThatTheCaptureCutIsNotRead) {
  const Bytes record = Nflog(
      kFamilyIpv4, Attribute(kTypePayload, Udp()) + Attribute(kTypeIndexIn, Big(0xffffffffU)));
  EXPECT_EQ(Decode(ParseNflog, FirstOf(record, record.size() - 2), {}, record.size()), kUdpEvent);
}

TEST(NflogHostile, AttributesStayWithinTheFrameWhateverTheyClaim) {
  for (unsigned int length = 0; length <= 0xffff; ++length) {
    const Bytes record =
        AttributeHeader(static_cast<std::uint16_t>(length), kTypePayload) + Zeros(12);
    NflogAttributes attributes({ByteView(record), record.size()});
    while (const auto attribute = attributes.Next()) {
      ASSERT_LE(attribute->value.bytes.size(), 12U);
      ASSERT_EQ(attribute->value.bytes.size(), attribute->value.wire_length);
    }
    // Lengths up to 12 leave four zero bytes, which claim a length of 0.
    ASSERT_EQ(attributes.damaged(), length < 13 || length > 16) << length;
  }
}

TEST(NflogHostile, AnyByteMayBeAnything) {
  const Bytes good = FullNflog(kForward, 2, 3, "pdb:fwd:1:drop:5");
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (unsigned int value = 0; value < 256; ++value) {
      Bytes record = good;
      record[at] = static_cast<std::uint8_t>(value);
      DecodeFrame(ParseNflog, record);
    }
  }
}

}  // namespace
}  // namespace packetdb::host::test
