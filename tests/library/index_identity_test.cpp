// Which events are the same, and the order in which the index keeps them.
#include "tests/library/index_fixture.h"

namespace packetdb::test {
namespace {

constexpr std::size_t kKeyBytes = 39;

CLinkedDrvErrorItem Node(const Event& event, std::uint64_t hash = 0) {
  CLinkedDrvErrorItem node;
  static_cast<PacketDbItem&>(node) = Record(event, hash);
  return node;
}

// A node whose event has `value` at one byte and 0 elsewhere.
CLinkedDrvErrorItem NodeWithByte(std::size_t offset, unsigned char value) {
  CLinkedDrvErrorItem node;
  reinterpret_cast<unsigned char*>(&node.m_Item)[offset] = value;
  return node;
}

bool Less(const CLinkedDrvErrorItem& a, const CLinkedDrvErrorItem& b) {
  return DrvErrorItemLess()(&a, &b);
}

TEST_F(IndexTest, EveryByteUpToDword23IsPartOfTheIdentity) {
  for (std::size_t offset = 0; offset < kKeyBytes; ++offset) {
    const auto zero = NodeWithByte(offset, 0);
    const auto one = NodeWithByte(offset, 1);
    EXPECT_TRUE(Less(zero, one)) << offset;
    EXPECT_FALSE(Less(one, zero)) << offset;
  }
}

TEST_F(IndexTest, NoByteBehindDword23IsPartOfTheIdentity) {
  for (std::size_t offset = kKeyBytes; offset < sizeof(CDrvErrorItemV4); ++offset) {
    const auto zero = NodeWithByte(offset, 0);
    const auto one = NodeWithByte(offset, 1);
    EXPECT_FALSE(Less(zero, one)) << offset;
    EXPECT_FALSE(Less(one, zero)) << offset;
  }
}

TEST_F(IndexTest, BytesAreComparedUnsigned) {
  for (std::size_t offset = 0; offset < kKeyBytes; ++offset) {
    EXPECT_TRUE(Less(NodeWithByte(offset, 0x7f), NodeWithByte(offset, 0x80))) << offset;
    EXPECT_FALSE(Less(NodeWithByte(offset, 0x80), NodeWithByte(offset, 0x7f))) << offset;
  }
}

TEST_F(IndexTest, EarlierByteDecides) {
  for (std::size_t offset = 0; offset + 1 < kKeyBytes; ++offset) {
    EXPECT_TRUE(Less(NodeWithByte(offset + 1, 0xff), NodeWithByte(offset, 1))) << offset;
    EXPECT_FALSE(Less(NodeWithByte(offset, 1), NodeWithByte(offset + 1, 0xff))) << offset;
  }
}

TEST_F(IndexTest, MultiByteFieldsAreOrderedByTheirStoredBytes) {
  EXPECT_TRUE(Less(Node(Event().Src(0x0100)), Node(Event().Src(0x0001))));
}

TEST_F(IndexTest, HashDecidesOnlyBetweenEqualKeys) {
  EXPECT_TRUE(Less(Node(Event(), 1), Node(Event(), 2)));
  EXPECT_FALSE(Less(Node(Event(), 2), Node(Event(), 1)));
  EXPECT_FALSE(Less(Node(Event(), 1), Node(Event(), 1)));
  EXPECT_TRUE(Less(Node(Event().Src(1), 2), Node(Event().Src(2), 1)));
}

TEST_F(IndexTest, HashIsComparedAsAnUnsignedNumber) {
  EXPECT_TRUE(Less(Node(Event(), 0x7fffffffffffffff), Node(Event(), 0x8000000000000000)));
  EXPECT_TRUE(Less(Node(Event(), 0x0001), Node(Event(), 0x0100)));
}

TEST_F(IndexTest, FindsRegardlessOfCountsTimesAndSizes) {
  index_.Init(5);
  Add(Key(1));
  Event repeat = Key(1).Count(9).First(7).Last(8).Size(77);
  repeat.m_Dword38 = repeat.m_Size = repeat.m_CountCopy = 5;
  repeat.m_Byte2B = 5;
  EXPECT_TRUE(Finds(repeat));
}

TEST_F(IndexTest, SameEventOnAnotherInterfaceIsAnother) {
  index_.Init(5);
  Add(Key(1), 10);
  EXPECT_FALSE(Finds(Key(1), 11));
  Add(Key(1), 11);
  EXPECT_TRUE(Finds(Key(1), 11));
  EXPECT_TRUE(Finds(Key(1), 10));
}

TEST_F(IndexTest, LookupTellsEveryKeyByteApart) {
  index_.Init(100);
  Add(Event());
  for (std::size_t offset = 0; offset < kKeyBytes; ++offset) {
    Event other;
    reinterpret_cast<unsigned char*>(&other)[offset] = 1;
    EXPECT_FALSE(Finds(other)) << offset;
    Add(other);
    EXPECT_TRUE(Finds(other)) << offset;
  }
  EXPECT_EQ(Size(), 40);
}

}  // namespace
}  // namespace packetdb::test
