#include <boost/make_shared.hpp>

#include "packetdb/storage_iter.h"
#include "src/log.h"
#include "src/query/interface_name.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/storage_iter";

}  // namespace

StorageIterPtr DbFileStorage::CreateStorageIter(const Query& query) {
  StorageIterPtr iter = boost::make_shared<UnixDbFileStorageIter>(*this, query);
  if (query.m_RecCount != 0) {
    return boost::make_shared<LimitedStorageIter>(iter, query.m_RecCount);
  }
  return iter;
}

StorageIterPtr DatabaseStorage::CreateStorageIter(const Query& query) {
  return boost::make_shared<DatabaseIter>(*this, query);
}

StorageIterPtr CreateStorageIter(const CPacketDbPtr& db, Query& query) {
  const std::string name = InterfaceName(query);
  PACKETDB_LOG(log::kQuery) << "Processing packet db request for " << name;
  const boost::shared_ptr<IJournalStorage> storage = db->GetActualStorage(name);
  if (!storage) {
    PACKETDB_LOG(log::kNotice) << "invalid interface name '" << name << "'";
    throw XPacketDb("invalid interface name", false);
  }
  if (!db->IsDynamic(name)) {
    PACKETDB_LOG(log::kTrace) << "Processing packet db request for group " << name;
    query.m_AdapterNameHash = 0;
  }
  return storage->CreateStorageIter(query);
}

}  // namespace packetdb
