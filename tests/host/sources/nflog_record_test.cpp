// What a record says besides the packet: live sources want it, captures do not look.
#include "host/sources/nflog_record.h"

#include <gtest/gtest.h>

#include "tests/host/sources/log_messages.h"

namespace packetdb::host::test {
namespace {

NflogRecord Read(const Bytes& attributes) {
  return ReadNflogRecord({ByteView(attributes), attributes.size()});
}

Bytes Big64Bytes(std::uint64_t value) {
  return Big(static_cast<std::uint32_t>(value >> 32)) + Big(static_cast<std::uint32_t>(value));
}

Bytes Stamp(std::uint64_t seconds, std::uint64_t microseconds) {
  return Attribute(kTypeTimestamp, Big64Bytes(seconds) + Big64Bytes(microseconds));
}

TEST(NflogRecord, TellsMarkUserAndNumber) {
  const Bytes attributes = Attribute(kTypeMark, Big(7U)) + Attribute(kTypeUid, Big(1000U)) +
                           Attribute(kTypeSequence, Big(0xFFFFFFFFU));
  const NflogRecord record = Read(attributes);
  EXPECT_EQ(record.mark, 7U);
  EXPECT_EQ(record.uid, 1000U);
  EXPECT_EQ(record.sequence, 0xFFFFFFFFU);
}

TEST(NflogRecord, WhatIsNotThereIsNone) {
  const NflogRecord record = Read({});
  EXPECT_EQ(record.mark, 0U);
  EXPECT_FALSE(record.uid || record.sequence || record.stamp || record.hook || record.damaged);
}

TEST(NflogRecord, UserZeroIsAUser) { EXPECT_EQ(Read(Attribute(kTypeUid, Big(0U))).uid, 0U); }

TEST(NflogRecord, TellsTheTimeInNanoseconds) {
  const NflogRecord record = Read(Stamp(1'700'000'000, 999'999));
  ASSERT_TRUE(record.stamp);
  EXPECT_EQ(record.stamp->seconds, 1'700'000'000);
  EXPECT_EQ(record.stamp->nanoseconds, 999'999'000U);
}

TEST(NflogRecord, AStampWithASecondOfMicrosecondsIsNone) {
  EXPECT_FALSE(Read(Stamp(5, 1'000'000)).stamp);
  EXPECT_FALSE(Read(Stamp(5, ~std::uint64_t{0})).stamp);
}

TEST(NflogRecord, ValuesTooShortForTheirTypeAreMissingAndNoDamage) {
  const NflogRecord record =
      Read(Attribute(kTypeMark, Zeros(3)) + Attribute(kTypeUid, Zeros(3)) +
           Attribute(kTypeSequence, Zeros(3)) + Attribute(kTypeTimestamp, Zeros(15)));
  EXPECT_EQ(record.mark, 0U);
  EXPECT_FALSE(record.uid || record.sequence || record.stamp || record.damaged);
}

TEST(NflogRecord, NumberInFrontOfDamageIsKnown) {
  const NflogRecord record =
      Read(Attribute(kTypeSequence, Big(9U)) + Attribute(kTypePacketHeader, Zeros(3)));
  EXPECT_TRUE(record.damaged);
  EXPECT_EQ(record.sequence, 9U);
}

}  // namespace
}  // namespace packetdb::host::test
