// Walking a journal: the iterators, and the factory that picks one for a query.
//
// An iterator serves one query on one thread and owns neither the storage nor the query.
#pragma once

#include <cstdint>
#include <memory>

#include "packetdb/query.h"
#include "packetdb/registry.h"
#include "packetdb/storage.h"

namespace packetdb {

class PACKETDB_EXPORT StorageIter {
 public:
  virtual ~StorageIter();
  // Puts every selected record at the front of `selection`, which so reads newest first; what it
  // held before stays behind them.
  virtual void SelectRecords(DbItemSelection& selection) = 0;
  // The next selected record, oldest first, or null at the end. Valid until the next call.
  virtual const PacketDbItem* next();
};

// Walks a journal file: bisects for the start of the time range by m_FirstTime, which therefore
// must not decrease along the journal, and stops at the first record whose m_LastTime lies beyond
// the end. Both bounds are widened by the storage's merge window. Records appended after the first
// next() are not seen.
class PACKETDB_EXPORT UnixDbFileStorageIter : public StorageIter {
 public:
  UnixDbFileStorageIter(const DbFileStorage& storage, const Query& query);
  ~UnixDbFileStorageIter() override;
  UnixDbFileStorageIter(const UnixDbFileStorageIter&) = delete;
  UnixDbFileStorageIter& operator=(const UnixDbFileStorageIter&) = delete;

  void SelectRecords(DbItemSelection& selection) override;
  // Throws XPacketDb, fatal and without a text, when the journal cannot be read.
  const PacketDbItem* next() override;

 private:
  PACKETDB_INTERNAL void FindStart();
  PACKETDB_INTERNAL bool AtEnd() const;
  PACKETDB_INTERNAL void Refill();
  PACKETDB_INTERNAL void DecodeNext();
  PACKETDB_INTERNAL void Advance();

  PacketDbItem m_item;                       // what next() returns
  std::unique_ptr<std::uint8_t[]> m_buffer;  // one batch of packed records
  const Query* m_query;
  const DbFileStorage* m_storage;
  std::uint32_t m_pos_;     // position of the next record to examine; ~0 before the search
  std::uint32_t m_count;    // records in the journal at the first next()
  std::int32_t m_fetched;   // records in m_buffer; -1 before the first batch
  std::int32_t m_index_;    // next record in m_buffer; 0: refill first
  std::int64_t m_endBound;  // last wanted m_LastTime, seconds since 1980
};

// Keeps only the newest records of another iterator. The whole range is still walked: the limit
// bounds memory, not reading. What the selection held before counts as its oldest records, which
// are the first to be dropped.
class PACKETDB_EXPORT LimitedStorageIter : public StorageIter {
 public:
  LimitedStorageIter(StorageIterPtr iter, unsigned int limit);
  ~LimitedStorageIter() override;

  void SelectRecords(DbItemSelection& selection) override;
  const PacketDbItem* next() override;

 private:
  StorageIterPtr m_iter;
  unsigned int m_limit;
};

// The iterator of the null storage: selects nothing.
class PACKETDB_EXPORT DatabaseIter : public StorageIter {
 public:
  DatabaseIter(const DatabaseStorage& storage, const Query& query);
  ~DatabaseIter() override;

  void SelectRecords(DbItemSelection& selection) override;

 private:
  [[maybe_unused]] const Query* m_query;
  [[maybe_unused]] const DatabaseStorage* m_storage;
};

// Selects nothing, from no storage; for hosts that need an iterator in place of none.
class PACKETDB_EXPORT EmptyIter : public StorageIter {
 public:
  EmptyIter();
  ~EmptyIter() override;

  void SelectRecords(DbItemSelection& selection) override;
};

// The iterator for the journal that `query` names. For a group it clears the query's interface
// hash, so that records of every interface match. Throws XPacketDb, not fatal, for a name that is
// not registered. The registry and the query must outlive the
// iterator.
PACKETDB_EXPORT StorageIterPtr CreateStorageIter(const CPacketDbPtr& db, Query& query);

}  // namespace packetdb
