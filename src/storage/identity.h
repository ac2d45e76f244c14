// What makes two events the same: the leading bytes of the event, m_SrcIp to m_Dword23, and the
// interface.
#pragma once

#include <cstddef>
#include <cstring>

#include "packetdb/storage.h"

namespace packetdb {

inline constexpr std::size_t kIdentityBytes = 39;
static_assert(offsetof(CDrvErrorItemV4, m_Count) == kIdentityBytes);

inline bool SameIdentity(const PacketDbItem& a, const PacketDbItem& b) {
  return a.m_AdapterNameHash == b.m_AdapterNameHash &&
         std::memcmp(&a.m_Item, &b.m_Item, kIdentityBytes) == 0;
}

}  // namespace packetdb
