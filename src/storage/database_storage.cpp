#include "packetdb/storage.h"

namespace packetdb {

DatabaseStorage::DatabaseStorage() : m_TimeDiff(0) {}

DatabaseStorage::~DatabaseStorage() = default;

int DatabaseStorage::Init(const std::string& path, int /*maxRecords*/, int /*mode*/,
                          time_t /*timeDiff*/) {
  m_FileName = path;
  return 0;
}

void DatabaseStorage::Done() {}

std::string DatabaseStorage::GetFileName() const { return m_FileName; }

time_t DatabaseStorage::getTimeDiff() const { return m_TimeDiff; }

int DatabaseStorage::RecordCount() const { return 0; }

int DatabaseStorage::FetchRecord(int /*position*/, PacketDbItem* /*item*/) const { return 0; }

int DatabaseStorage::FetchRecords(int /*first*/, void* /*buffer*/, int /*count*/) const {
  return 0;
}

int DatabaseStorage::AddRecord(const CDrvErrorItemV4* /*event*/, std::size_t /*adapterNameHash*/,
                               const std::string& /*interfaceName*/) {
  return 0;
}

PacketDbItem* DatabaseStorage::InvertEndian(PacketDbItemPacked* /*record*/) const {
  return nullptr;
}

}  // namespace packetdb
