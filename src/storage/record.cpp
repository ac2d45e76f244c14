#include "packetdb/storage.h"

namespace packetdb {

PacketDbItem::PacketDbItem() : m_AdapterNameHash(0), m_Item{} {}

PacketDbItem::PacketDbItem(const CDrvErrorItemV4* event, unsigned long adapterNameHash)
    : m_AdapterNameHash(adapterNameHash), m_Item(*event) {}

const CDrvErrorItemV4* PacketDbItem::Next() const {
  const auto* start = reinterpret_cast<const unsigned char*>(&m_Item);
  return reinterpret_cast<const CDrvErrorItemV4*>(start + m_Item.m_Size);
}

PacketDbItemPacked* IJournalStorage::Pack(PacketDbItem* item) const {
  static PacketDbItemPacked packed{};  // what is never written below stays 0
  const CDrvErrorItemV4& event = item->m_Item;
  packed.m_AdapterNameHash = item->m_AdapterNameHash;
  packed.m_SrcIp = event.m_SrcIp;
  packed.m_DstIp = event.m_DstIp;
  packed.m_Flags = event.m_Flags;
  packed.m_ErrorCode = event.m_ErrorCode;
  packed.m_Word10 = event.m_Word10;
  packed.m_Protocol = event.m_Protocol;
  packed.m_SrcPort = event.m_SrcPort;
  packed.m_DstPort = event.m_DstPort;
  packed.m_SrcId = event.m_SrcId;
  packed.m_DstId = event.m_DstId;
  packed.m_Dword1F = event.m_Dword1F;
  packed.m_Dword23 = 0;
  packed.m_Count = event.m_Count;
  packed.m_CountCopy = event.m_Count;  // the event's own second count is ignored
  packed.m_FirstTime = event.m_FirstTime;
  packed.m_LastTime = event.m_LastTime;
  packed.m_Dword38 = event.m_Dword38;
  packed.m_PacketSize = event.m_PacketSize;
  return &packed;
}

PacketDbItem* IJournalStorage::Unpack(PacketDbItemPacked* record) const {
  static PacketDbItem item;  // what is never set below stays 0
  CDrvErrorItemV4& event = item.m_Item;
  item.m_AdapterNameHash = record->m_AdapterNameHash;
  event.m_SrcIp = record->m_SrcIp;
  event.m_DstIp = record->m_DstIp;
  event.m_Flags = record->m_Flags;
  event.m_ErrorCode = record->m_ErrorCode;
  event.m_Word10 = record->m_Word10;
  event.m_Protocol = record->m_Protocol;
  event.m_SrcPort = record->m_SrcPort;
  event.m_DstPort = record->m_DstPort;
  event.m_SrcId = record->m_SrcId;
  event.m_DstId = record->m_DstId;
  event.m_Dword1F = record->m_Dword1F;
  event.m_Count = record->m_Count;
  event.m_CountCopy = record->m_Count;  // the record's second count is not read
  event.m_FirstTime = record->m_FirstTime;
  event.m_LastTime = record->m_LastTime;
  event.m_Dword38 = record->m_Dword38;
  event.m_PacketSize = record->m_PacketSize;
  return &item;
}

PacketDbItem* DbFileStorage::InvertEndian(PacketDbItem* item) const {
  static PacketDbItem copy;
  copy = *item;
  return &copy;
}

PacketDbItem* DbFileStorage::InvertEndian(PacketDbItemPacked* record) const {
  return InvertEndian(Unpack(record));
}

}  // namespace packetdb
