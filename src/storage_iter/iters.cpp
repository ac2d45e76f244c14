// The small iterators.
#include <utility>

#include "packetdb/storage_iter.h"

namespace packetdb {

StorageIter::~StorageIter() = default;

const PacketDbItem* StorageIter::next() { return nullptr; }

LimitedStorageIter::LimitedStorageIter(StorageIterPtr iter, unsigned int limit)
    : m_iter(std::move(iter)), m_limit(limit) {}

LimitedStorageIter::~LimitedStorageIter() = default;

void LimitedStorageIter::SelectRecords(DbItemSelection& selection) {
  std::uint32_t count = 0;
  while (const PacketDbItem* item = next()) {
    selection.push_front(*item);
    if (++count > m_limit) {
      selection.pop_back();
    }
  }
}

const PacketDbItem* LimitedStorageIter::next() { return m_iter->next(); }

DatabaseIter::DatabaseIter(const DatabaseStorage& storage, const Query& query)
    : m_query(&query), m_storage(&storage) {}

DatabaseIter::~DatabaseIter() = default;

void DatabaseIter::SelectRecords(DbItemSelection& /*selection*/) {}

EmptyIter::EmptyIter() = default;

EmptyIter::~EmptyIter() = default;

void EmptyIter::SelectRecords(DbItemSelection& /*selection*/) {}

}  // namespace packetdb
