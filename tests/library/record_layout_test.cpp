// Where every field of a record lies, in memory and in the journal file.
#include <cstddef>
#include <gtest/gtest.h>
#include <type_traits>

#include "packetdb/query.h"
#include "packetdb/storage.h"

namespace packetdb::test {
namespace {

#define EXPECT_FIELD(type, field, offset, width)                      \
  EXPECT_EQ(offsetof(type, field), static_cast<std::size_t>(offset)); \
  EXPECT_EQ(sizeof(type::field), static_cast<std::size_t>(width))

TEST(RecordLayout, EventAddressTupleComesFirst) {
  EXPECT_FIELD(CDrvErrorItemV4, m_SrcIp, 0x00, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_DstIp, 0x04, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_Flags, 0x08, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_ErrorCode, 0x0C, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_Word10, 0x10, 2);
  EXPECT_FIELD(CDrvErrorItemV4, m_Protocol, 0x12, 1);
  EXPECT_FIELD(CDrvErrorItemV4, m_SrcPort, 0x13, 2);
  EXPECT_FIELD(CDrvErrorItemV4, m_DstPort, 0x15, 2);
  EXPECT_FIELD(CDrvErrorItemV4, m_SrcId, 0x17, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_DstId, 0x1B, 4);
}

TEST(RecordLayout, EventCountersAndTimesFollow) {
  EXPECT_FIELD(CDrvErrorItemV4, m_Dword1F, 0x1F, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_Dword23, 0x23, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_Count, 0x27, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_Byte2B, 0x2B, 1);
  EXPECT_FIELD(CDrvErrorItemV4, m_CountCopy, 0x2C, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_FirstTime, 0x30, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_LastTime, 0x34, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_Dword38, 0x38, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_Size, 0x3C, 4);
  EXPECT_FIELD(CDrvErrorItemV4, m_PacketSize, 0x40, 4);
  EXPECT_EQ(sizeof(CDrvErrorItemV4), 68u);
}

TEST(RecordLayout, AddressTupleIsTheStartOfAnEvent) {
  EXPECT_FIELD(CDrvErrHash, m_SrcIp, 0x00, 4);
  EXPECT_FIELD(CDrvErrHash, m_DstIp, 0x04, 4);
  EXPECT_FIELD(CDrvErrHash, m_Flags, 0x08, 4);
  EXPECT_FIELD(CDrvErrHash, m_ErrorCode, 0x0C, 4);
  EXPECT_FIELD(CDrvErrHash, m_Word10, 0x10, 2);
  EXPECT_FIELD(CDrvErrHash, m_Protocol, 0x12, 1);
  EXPECT_FIELD(CDrvErrHash, m_SrcPort, 0x13, 2);
  EXPECT_FIELD(CDrvErrHash, m_DstPort, 0x15, 2);
  EXPECT_FIELD(CDrvErrHash, m_SrcId, 0x17, 4);
  EXPECT_FIELD(CDrvErrHash, m_DstId, 0x1B, 4);
  EXPECT_EQ(sizeof(CDrvErrHash), 0x1Fu);
}

TEST(RecordLayout, RecordInMemoryIsTheHashAndTheEvent) {
  EXPECT_FIELD(PacketDbItem, m_AdapterNameHash, 0, 8);
  EXPECT_FIELD(PacketDbItem, m_Item, 8, 68);
  EXPECT_FIELD(PacketDbClientItem, m_AdapterNameHash, 0, 8);
  EXPECT_FIELD(PacketDbClientItem, m_Item, 8, 68);
  EXPECT_TRUE(std::is_copy_constructible_v<PacketDbItem>);
  EXPECT_TRUE(std::is_copy_assignable_v<PacketDbItem>);
}

TEST(RecordLayout, RecordInTheFileBeginsWithHashAndAddresses) {
  EXPECT_FIELD(PacketDbItemPacked, m_AdapterNameHash, 0x00, 8);
  EXPECT_FIELD(PacketDbItemPacked, m_SrcIp, 0x08, 4);
  EXPECT_FIELD(PacketDbItemPacked, m_DstIp, 0x0C, 4);
  EXPECT_FIELD(PacketDbItemPacked, m_Flags, 0x10, 4);
  EXPECT_FIELD(PacketDbItemPacked, m_ErrorCode, 0x14, 4);
  EXPECT_FIELD(PacketDbItemPacked, m_Word10, 0x18, 2);
  EXPECT_FIELD(PacketDbItemPacked, m_Protocol, 0x1A, 1);
  EXPECT_FIELD(PacketDbItemPacked, m_SrcPort, 0x1B, 2);
  EXPECT_FIELD(PacketDbItemPacked, m_DstPort, 0x1D, 2);
  EXPECT_FIELD(PacketDbItemPacked, m_SrcId, 0x1F, 4);
  EXPECT_FIELD(PacketDbItemPacked, m_DstId, 0x23, 4);
}

TEST(RecordLayout, RecordInTheFileEndsWithCountersAndTimes) {
  EXPECT_FIELD(PacketDbItemPacked, m_Dword1F, 0x27, 4);
  EXPECT_FIELD(PacketDbItemPacked, m_Dword23, 0x2B, 4);
  EXPECT_FIELD(PacketDbItemPacked, m_Count, 0x2F, 4);
  EXPECT_FIELD(PacketDbItemPacked, m_Byte2B, 0x33, 1);
  EXPECT_FIELD(PacketDbItemPacked, m_CountCopy, 0x34, 4);
  EXPECT_FIELD(PacketDbItemPacked, m_FirstTime, 0x38, 4);
  EXPECT_FIELD(PacketDbItemPacked, m_LastTime, 0x3C, 4);
  EXPECT_FIELD(PacketDbItemPacked, m_Dword38, 0x40, 4);
  EXPECT_FIELD(PacketDbItemPacked, m_PacketSize, 0x44, 4);
  EXPECT_EQ(sizeof(PacketDbItemPacked), 72u);
}

}  // namespace
}  // namespace packetdb::test
