#include "packetdb/registry.h"

namespace packetdb {

const unsigned char CPacketDb::version = 1;

CPacketDb::CPacketDb() = default;

CPacketDb::CPacketDb(const StorageMap& storages) : m_Storages(storages) {}

bool CPacketDb::Register(const std::string& name, bool dynamic,
                         const boost::shared_ptr<IJournalStorage>& storage) {
  if (!storage) {
    return false;
  }
  m_Storages[name] = {dynamic, storage};
  return true;
}

void CPacketDb::UnRegister(const std::string& name) { m_Storages.erase(name); }

boost::shared_ptr<IJournalStorage> CPacketDb::GetActualStorage(const std::string& name) const {
  const auto entry = m_Storages.find(name);
  return entry != m_Storages.end() ? entry->second.second : boost::shared_ptr<IJournalStorage>();
}

bool CPacketDb::IsDynamic(const std::string& name) const {
  const auto entry = m_Storages.find(name);
  return entry != m_Storages.end() && entry->second.first;
}

}  // namespace packetdb
