#include "packetdb/identity_set.h"

#include "src/storage/identity.h"

namespace packetdb {

CLinkedDrvErrorItem* IdentitySet::Find(const PacketDbItem& item) const {
  CLinkedDrvErrorItem* const found = m_Hash.Find(item);
  if (found != nullptr || m_Hash.size() == m_Size) {
    return found;
  }
  CLinkedDrvErrorItem probe;
  probe.m_AdapterNameHash = item.m_AdapterNameHash;
  std::memcpy(&probe.m_Item, &item.m_Item, kIdentityBytes);
  return m_Order.Find(probe);
}

bool IdentitySet::Insert(CLinkedDrvErrorItem* node) {
  if (!m_Order.Insert(node)) {
    return false;
  }
  m_Hash.Insert(node);
  ++m_Size;
  return true;
}

void IdentitySet::Erase(const CLinkedDrvErrorItem& key) {
  if (m_Order.Erase(key)) {
    m_Hash.Erase(key);
    --m_Size;
  }
}

void IdentitySet::Clear() {
  m_Order.Clear();
  m_Hash.Clear();
  m_Size = 0;
}

}  // namespace packetdb
