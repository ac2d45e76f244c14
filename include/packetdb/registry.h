// The table of journal storages by interface name.
#pragma once

#include <boost/shared_ptr.hpp>
#include <map>
#include <string>
#include <utility>

#include "packetdb/storage.h"

namespace packetdb {

// Which storage answers for which name. A name is dynamic when it stands for one interface: a query
// for it selects that interface's records only. A name that is not dynamic stands for a group: a
// query for it selects every record of the storage.
//
// Names are compared bytewise. The table shares ownership of the storages and never calls them; it
// takes no lock.
class PACKETDB_EXPORT CPacketDb {
 public:
  using StorageMap = std::map<std::string, std::pair<bool, boost::shared_ptr<IJournalStorage>>>;

  static const unsigned char version;  // 1

  CPacketDb();
  explicit CPacketDb(const StorageMap& storages);

  // Sets the entry for `name`, replacing one that was there. Returns false, with nothing changed,
  // for an empty storage pointer.
  bool Register(const std::string& name, bool dynamic,
                const boost::shared_ptr<IJournalStorage>& storage);
  // Drops the entry; an unknown name is ignored. Does not close the storage.
  void UnRegister(const std::string& name);
  // The storage of `name`, empty when the name is not registered.
  boost::shared_ptr<IJournalStorage> GetActualStorage(const std::string& name) const;
  // False also for an unknown name.
  bool IsDynamic(const std::string& name) const;

 private:
  StorageMap m_Storages;
};

using CPacketDbPtr = boost::shared_ptr<CPacketDb>;

}  // namespace packetdb
