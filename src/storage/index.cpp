#include <ctime>
#include <new>

#include "packetdb/storage.h"
#include "src/log.h"
#include "src/wrapping.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/storage";

// When an event was first seen, in Unix seconds. The sum wraps at 32 bits: a first time of
// 3979434496 or more counts as long past.
std::uint32_t FirstSeen(const CLinkedDrvErrorItem& node) {
  return node.m_Item.m_FirstTime + TIME_1980_OFFSET;
}

}  // namespace

DrvErrorItemsIndex::DrvErrorItemsIndex() : m_MaxItems(0), m_First(nullptr), m_Last(nullptr) {}

DrvErrorItemsIndex::~DrvErrorItemsIndex() { Done(); }

void DrvErrorItemsIndex::Init(int maxItems) { m_MaxItems = static_cast<std::size_t>(maxItems); }

CLinkedDrvErrorItem* DrvErrorItemsIndex::FindItem(PacketDbItem* item) {
  return m_Items.Find(*item);
}

CLinkedDrvErrorItem* DrvErrorItemsIndex::NewItem(PacketDbItem* item) const {
  CLinkedDrvErrorItem* const node = m_Nodes.Take();
  if (node == nullptr) {
    PACKETDB_LOG(log::kFailure) << "Failed to allocate memory for CLinkedDrvErrorItem";
    return nullptr;
  }
  static_cast<PacketDbItem&>(*node) = *item;
  return node;
}

void DrvErrorItemsIndex::ReturnItem(CLinkedDrvErrorItem* node) const { m_Nodes.Return(node); }

void DrvErrorItemsIndex::AddItem(CLinkedDrvErrorItem* node) {
  try {
    m_Items.Insert(node);
  } catch (const std::bad_alloc&) {
    // The record is in the journal; without memory its repeats merely start a record of their own.
    ReturnItem(node);
    return;
  }
  if (m_Last != nullptr) {
    m_Last->m_Next = node;
  }
  m_Last = node;
  if (m_First == nullptr) {
    m_First = node;
  }
  if (m_MaxItems < m_Items.size() || m_Items.size() == IdentitySet::max_size()) {
    RemoveFirstItem();
  }
}

void DrvErrorItemsIndex::RemoveFirstItem() {
  if (m_First == nullptr) {
    return;
  }
  CLinkedDrvErrorItem* oldest = m_First;
  m_First = oldest->m_Next;
  if (m_First == nullptr) {
    m_Last = nullptr;
  }
  m_Items.Erase(*oldest);  // by identity, as the set is keyed
  ReturnItem(oldest);
}

void DrvErrorItemsIndex::RemoveExpiredItems(time_t interval) {
  const time_t now = time(nullptr);
  PACKETDB_LOG(log::kTrace) << "before cleanup: lru_items = " << m_Items.size();
  const std::int64_t limit = WrappingSubtract(now, interval);
  // Only the old end is looked at: an expired event behind one that is still fresh waits for it.
  while (m_First != nullptr && FirstSeen(*m_First) <= limit) {
    PACKETDB_LOG(log::kTrace) << "old rec: " << FirstSeen(*m_First) << " < " << now << " - "
                              << interval;
    RemoveFirstItem();
  }
  PACKETDB_LOG(log::kTrace) << "after cleanup: lru_items = " << m_Items.size();
}

void DrvErrorItemsIndex::Done() {
  m_Items.Clear();
  while (m_First != nullptr) {
    CLinkedDrvErrorItem* next = m_First->m_Next;
    ReturnItem(m_First);
    m_First = next;
  }
  m_Last = nullptr;
  m_Nodes.Trim();
}

}  // namespace packetdb
