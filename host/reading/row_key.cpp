#include "host/reading/row_key.h"

namespace packetdb::host {

std::string KeyOf(const Row& row) {
  const CDrvErrorItemV4& event = row.event;
  std::string key(reinterpret_cast<const char*>(&event), sizeof(CDrvErrHash));
  key.append(reinterpret_cast<const char*>(&event) + offsetof(CDrvErrorItemV4, m_FirstTime),
             sizeof event.m_FirstTime);
  return key.append(row.interface);
}

}  // namespace packetdb::host
