// Pins the records byte by byte: hosts fill the event's memory, and journals on disk outlive us.
#include <cstddef>
#include <type_traits>

#include "packetdb/query.h"
#include "packetdb/storage.h"

namespace packetdb {

#define PIN(record, field, offset, type)              \
  static_assert(offsetof(record, field) == (offset)); \
  static_assert(std::is_same_v<decltype(record::field), std::type>)

// What an event and its leading address tuple have in common, `base` bytes into the record.
#define PIN_TUPLE(record, base)                      \
  PIN(record, m_SrcIp, (base) + 0x00, uint32_t);     \
  PIN(record, m_DstIp, (base) + 0x04, uint32_t);     \
  PIN(record, m_Flags, (base) + 0x08, uint32_t);     \
  PIN(record, m_ErrorCode, (base) + 0x0C, uint32_t); \
  PIN(record, m_Word10, (base) + 0x10, uint16_t);    \
  PIN(record, m_Protocol, (base) + 0x12, uint8_t);   \
  PIN(record, m_SrcPort, (base) + 0x13, uint16_t);   \
  PIN(record, m_DstPort, (base) + 0x15, uint16_t);   \
  PIN(record, m_SrcId, (base) + 0x17, uint32_t);     \
  PIN(record, m_DstId, (base) + 0x1B, uint32_t)

PIN_TUPLE(CDrvErrHash, 0);
static_assert(sizeof(CDrvErrHash) == 0x1F);
static_assert(std::is_trivially_copyable_v<CDrvErrHash>);

PIN_TUPLE(CDrvErrorItemV4, 0);
PIN(CDrvErrorItemV4, m_Dword1F, 0x1F, uint32_t);
PIN(CDrvErrorItemV4, m_Dword23, 0x23, uint32_t);
PIN(CDrvErrorItemV4, m_Count, 0x27, uint32_t);
PIN(CDrvErrorItemV4, m_Byte2B, 0x2B, uint8_t);
PIN(CDrvErrorItemV4, m_CountCopy, 0x2C, uint32_t);
PIN(CDrvErrorItemV4, m_FirstTime, 0x30, uint32_t);
PIN(CDrvErrorItemV4, m_LastTime, 0x34, uint32_t);
PIN(CDrvErrorItemV4, m_Dword38, 0x38, uint32_t);
PIN(CDrvErrorItemV4, m_Size, 0x3C, uint32_t);
PIN(CDrvErrorItemV4, m_PacketSize, 0x40, uint32_t);
static_assert(sizeof(CDrvErrorItemV4) == 68);
static_assert(std::is_trivially_copyable_v<CDrvErrorItemV4>);

PIN(PacketDbItemPacked, m_AdapterNameHash, 0x00, uint64_t);
PIN_TUPLE(PacketDbItemPacked, 0x08);
PIN(PacketDbItemPacked, m_Dword1F, 0x27, uint32_t);
PIN(PacketDbItemPacked, m_Dword23, 0x2B, uint32_t);
PIN(PacketDbItemPacked, m_Count, 0x2F, uint32_t);
PIN(PacketDbItemPacked, m_Byte2B, 0x33, uint8_t);
PIN(PacketDbItemPacked, m_CountCopy, 0x34, uint32_t);
PIN(PacketDbItemPacked, m_FirstTime, 0x38, uint32_t);
PIN(PacketDbItemPacked, m_LastTime, 0x3C, uint32_t);
PIN(PacketDbItemPacked, m_Dword38, 0x40, uint32_t);
PIN(PacketDbItemPacked, m_PacketSize, 0x44, uint32_t);
static_assert(sizeof(PacketDbItemPacked) == 72);
static_assert(std::is_trivially_copyable_v<PacketDbItemPacked>);

PIN(PacketDbItem, m_AdapterNameHash, 0, uint64_t);
static_assert(offsetof(PacketDbItem, m_Item) == 8);
static_assert(std::is_trivially_copyable_v<PacketDbItem>);

PIN(PacketDbClientItem, m_AdapterNameHash, 0, uint64_t);
static_assert(offsetof(PacketDbClientItem, m_Item) == 8);
static_assert(sizeof(PacketDbClientItem) == sizeof(PacketDbItem));
static_assert(std::is_trivially_copyable_v<PacketDbClientItem>);

}  // namespace packetdb
