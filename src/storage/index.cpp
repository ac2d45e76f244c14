#include <cstring>
#include <ctime>
#include <new>

#include "packetdb/storage.h"
#include "src/log.h"
#include "src/wrapping.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/storage";

// An event's identity is its leading bytes, m_SrcIp to m_Dword23.
constexpr std::size_t kIdentityBytes = 39;
static_assert(offsetof(CDrvErrorItemV4, m_Count) == kIdentityBytes);

// When an event was first seen, in Unix seconds. The sum wraps at 32 bits: a first time of
// 3979434496 or more counts as long past.
std::uint32_t FirstSeen(const CLinkedDrvErrorItem& node) {
  return node.m_Item.m_FirstTime + TIME_1980_OFFSET;
}

}  // namespace

bool DrvErrorItemLess::operator()(const CLinkedDrvErrorItem* a,
                                  const CLinkedDrvErrorItem* b) const {
  const int order = std::memcmp(&a->m_Item, &b->m_Item, kIdentityBytes);
  return order != 0 ? order < 0 : a->m_AdapterNameHash < b->m_AdapterNameHash;
}

DrvErrorItemsIndex::DrvErrorItemsIndex() : m_MaxItems(0), m_First(nullptr), m_Last(nullptr) {}

DrvErrorItemsIndex::~DrvErrorItemsIndex() { Done(); }

void DrvErrorItemsIndex::Init(int maxItems) { m_MaxItems = static_cast<std::size_t>(maxItems); }

CLinkedDrvErrorItem* DrvErrorItemsIndex::FindItem(PacketDbItem* item) {
  if (m_Items.empty()) {
    return nullptr;
  }
  CLinkedDrvErrorItem probe;
  probe.m_AdapterNameHash = item->m_AdapterNameHash;
  std::memcpy(&probe.m_Item, &item->m_Item, kIdentityBytes);
  const auto found = m_Items.find(&probe);
  return found != m_Items.end() ? *found : nullptr;
}

CLinkedDrvErrorItem* DrvErrorItemsIndex::NewItem(PacketDbItem* item) const {
  auto* node = new (std::nothrow) CLinkedDrvErrorItem();
  if (node == nullptr) {
    PACKETDB_LOG(log::kFailure) << "Failed to allocate memory for CLinkedDrvErrorItem";
    return nullptr;
  }
  static_cast<PacketDbItem&>(*node) = *item;
  return node;
}

void DrvErrorItemsIndex::AddItem(CLinkedDrvErrorItem* node) {
  try {
    m_Items.insert(node);
  } catch (const std::bad_alloc&) {
    // The record is in the journal; without memory its repeats merely start a record of their own.
    delete node;
    return;
  }
  if (m_Last != nullptr) {
    m_Last->m_Next = node;
  }
  m_Last = node;
  if (m_First == nullptr) {
    m_First = node;
  }
  if (m_MaxItems < m_Items.size() || m_Items.size() == m_Items.max_size()) {
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
  m_Items.erase(oldest);  // by identity, as the set is keyed
  delete oldest;
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
  m_Items.clear();
  while (m_First != nullptr) {
    CLinkedDrvErrorItem* next = m_First->m_Next;
    delete m_First;
    m_First = next;
  }
  m_Last = nullptr;
}

}  // namespace packetdb
