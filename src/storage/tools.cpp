// What a host can do with a journal file directly.
#include <cstring>
#include <memory>
#include <new>

#include "packetdb/journal_format.h"
#include "packetdb/query.h"
#include "packetdb/storage.h"
#include "packetdb/storage_iter.h"
#include "platform/record_file.h"
#include "src/log.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/storage";
constexpr int kOutOfMemory = -16;
constexpr int kReadOnly = 0;
// Deliberately not the size of our records: hosts know what this check answers, which for a sound
// journal is the code for another format.
constexpr unsigned long kCheckedRecordSize = 80;

}  // namespace

boost::shared_ptr<IJournalStorage> IJournalStorage::QueryJournalStorage() {
  return boost::shared_ptr<IJournalStorage>(new DbFileStorage);
}

int IJournalStorage::CheckIntegrity(const std::string& path, std::size_t maxRecords) {
  const std::unique_ptr<CDbFile> file(new (std::nothrow) CDbFile);
  if (file == nullptr) {
    PACKETDB_LOG(log::kFailure) << "Out of memory";
    return kOutOfMemory;
  }
  const int status = file->Init(path, kJournalMagic, kCheckedRecordSize, maxRecords, kReadOnly);
  PACKETDB_LOG(log::kTrace) << path << " packet database init code=" << status;
  file->Done();
  return status;
}

bool IJournalStorage::ReadPackets(time_t from, time_t to, const std::string& ifname,
                                  DbItemSelection& selection) {
  Query query;
  if (ifname.size() >= sizeof query.m_Interface) {
    PACKETDB_LOG(log::kFailure) << "name too long " << ifname.size();
    return false;
  }
  std::memcpy(query.m_Interface, ifname.data(), ifname.size());
  query.m_TimeStart = from;
  query.m_TimeEnd = to;
  CreateStorageIter(query)->SelectRecords(selection);
  return true;
}

}  // namespace packetdb
