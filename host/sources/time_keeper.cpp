#include "host/sources/time_keeper.h"

#include <algorithm>

namespace packetdb::host {

bool TimeKeeper::Keep(packetdb::CDrvErrorItemV4& item) {
  const std::uint32_t first = std::max<std::uint32_t>(item.m_FirstTime, newest_);
  const std::uint32_t last = std::max<std::uint32_t>(item.m_LastTime, first);
  const bool moved = first != item.m_FirstTime || last != item.m_LastTime;
  item.m_FirstTime = first;
  item.m_LastTime = last;
  newest_ = last;
  adjusted_ += moved ? 1 : 0;
  return moved;
}

void TimeKeeper::RaiseFloor(std::uint32_t floor) { newest_ = std::max(newest_, floor); }

}  // namespace packetdb::host
