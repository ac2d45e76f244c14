// Records, journal storages and the repeat-merging index.
//
// A host hands in events (CDrvErrorItemV4); a storage keeps each as a 72-byte record
// (PacketDbItemPacked) and folds the repeats of a recent event into the record of the first.
//
// Nothing here locks, and the record conversions return static buffers: callers serialise every
// call into the library.
#pragma once

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <stdexcept>
#include <string>
#include <sys/types.h>

#include "packetdb/identity_set.h"

#define PACKETDB_EXPORT __attribute__((visibility("default")))
#define PACKETDB_INTERNAL \
  __attribute__((visibility("hidden")))  // private steps of exported classes

class CDbFile;

namespace packetdb {

class Query;
class StorageIter;
using StorageIterPtr = boost::shared_ptr<StorageIter>;

// Seconds from 1970-01-01 to 1980-01-01 (UTC). Record times count from 1980, query times from 1970.
inline constexpr unsigned int TIME_1980_OFFSET = 315532800;

#pragma pack(push, 1)

// Who sent what to whom: the leading part of an event. Host byte order throughout.
struct CDrvErrHash {
  std::uint32_t m_SrcIp;  // IPv4 address, RFC 791
  std::uint32_t m_DstIp;
  std::uint32_t m_Flags;      // event flag bits, the host's
  std::uint32_t m_ErrorCode;  // event code, the host's
  std::uint16_t m_Word10;     // the host's; stored and served, never interpreted
  std::uint8_t m_Protocol;    // IANA protocol number
  std::uint16_t m_SrcPort;
  std::uint16_t m_DstPort;
  std::uint32_t m_SrcId;  // network node; 0 none
  std::uint32_t m_DstId;
} __attribute__((may_alias));

// One packet event as the host hands it in. Host byte order, no padding. Its first fields are those
// of CDrvErrHash, as which it can be read.
struct CDrvErrorItemV4 {
  std::uint32_t m_SrcIp;
  std::uint32_t m_DstIp;
  std::uint32_t m_Flags;
  std::uint32_t m_ErrorCode;
  std::uint16_t m_Word10;
  std::uint8_t m_Protocol;
  std::uint16_t m_SrcPort;
  std::uint16_t m_DstPort;
  std::uint32_t m_SrcId;
  std::uint32_t m_DstId;
  std::uint32_t m_Dword1F;     // the host's; stored, not served; part of an event's identity
  std::uint32_t m_Dword23;     // the host's; part of an event's identity, not stored
  std::uint32_t m_Count;       // packets the event stands for; repeats are summed, wrapping
  std::uint8_t m_Byte2B;       // the host's; served from memory, not stored
  std::uint32_t m_CountCopy;   // equals m_Count once the event has been through a journal
  std::uint32_t m_FirstTime;   // seconds since 1980-01-01 UTC
  std::uint32_t m_LastTime;    // seconds since 1980-01-01 UTC; moves with each repeat
  std::uint32_t m_Dword38;     // the host's; stored, not served
  std::uint32_t m_Size;        // bytes of the driver's own record, for Next(); not stored
  std::uint32_t m_PacketSize;  // bytes of packet data; repeats are summed, wrapping

  operator const CDrvErrHash&() const { return *reinterpret_cast<const CDrvErrHash*>(this); }
};

// A record as the journal file stores it, in host byte order.
struct PacketDbItemPacked {
  std::uint64_t m_AdapterNameHash;
  std::uint32_t m_SrcIp;
  std::uint32_t m_DstIp;
  std::uint32_t m_Flags;
  std::uint32_t m_ErrorCode;
  std::uint16_t m_Word10;
  std::uint8_t m_Protocol;
  std::uint16_t m_SrcPort;
  std::uint16_t m_DstPort;
  std::uint32_t m_SrcId;
  std::uint32_t m_DstId;
  std::uint32_t m_Dword1F;
  std::uint32_t m_Dword23;  // always 0
  std::uint32_t m_Count;
  std::uint8_t m_Byte2B;      // always 0
  std::uint32_t m_CountCopy;  // m_Count again
  std::uint32_t m_FirstTime;
  std::uint32_t m_LastTime;
  std::uint32_t m_Dword38;
  std::uint32_t m_PacketSize;
};

#pragma pack(pop)

// A record in memory: an event and the interface that it was seen on.
struct PACKETDB_EXPORT PacketDbItem {
  PacketDbItem();  // all zero
  // Copies the event; `adapterNameHash` is adapter_name_hash of the interface's name.
  PacketDbItem(const CDrvErrorItemV4* event, unsigned long adapterNameHash);

  // Where the driver's next record starts in a buffer of its variable-length records: m_Size bytes
  // behind the start of m_Item. For hosts that walk such buffers in place.
  const CDrvErrorItemV4* Next() const;

  std::uint64_t m_AdapterNameHash;
  CDrvErrorItemV4 m_Item;
};

// Records that a query selected, newest first.
using DbItemSelection = std::deque<PacketDbItem>;

// Any failure of answering a query.
class PACKETDB_EXPORT XPacketDb : public std::runtime_error {
 public:
  XPacketDb(const std::string& message, bool fatal);
  XPacketDb(const XPacketDb&) = default;
  ~XPacketDb() override;

  const bool m_Fatal;  // the command fails as a whole, beyond the "nothing" that the client is told
};

// The journal of one interface, or of a group of interfaces.
class PACKETDB_EXPORT IJournalStorage {
 public:
  virtual ~IJournalStorage();

  // An iterator over the records that `query` selects. The storage and the query must outlive it.
  virtual StorageIterPtr CreateStorageIter(const Query& query) = 0;

  // Opens the journal at `path` for at most `maxRecords` records. `mode` goes to the record file as
  // it is (see CDbFile::Init). `timeDiff` is the merge window in seconds: how long after its first
  // packet an event still takes up repeats. Returns 0 when open, else the failing code; a positive
  // one too means that the journal is not open.
  virtual int Init(const std::string& path, int maxRecords, int mode, time_t timeDiff) = 0;

  // Closes the journal. Call it before the storage is destroyed.
  virtual void Done() = 0;

  virtual std::string GetFileName() const = 0;
  virtual time_t getTimeDiff() const = 0;  // the merge window of Init, 0 before
  virtual int RecordCount() const = 0;

  // Reads the record at a position (0 oldest) into `item`. Returns the status of the read, negative
  // on failure; the file storage fills `item` in any case, the null storage never does.
  virtual int FetchRecord(int position, PacketDbItem* item) const = 0;

  // Reads up to `count` packed records from `first` on into `buffer` (72 bytes each). Returns how
  // many; 0 or less ends a scan.
  virtual int FetchRecords(int first, void* buffer, int count) const = 0;

  // Journals one event. Always returns 0. The interface name is for storages that want it; the
  // hash is what is kept.
  virtual int AddRecord(const CDrvErrorItemV4* event, std::size_t adapterNameHash,
                        const std::string& interfaceName) = 0;

  // Decodes a record that was read from the journal; null from a storage that holds none. The
  // result is valid until the next call.
  virtual PacketDbItem* InvertEndian(PacketDbItemPacked* record) const = 0;

  // Conversions between the record's two forms. Each returns a static buffer of its own, valid
  // until the next call of the same operation. What the journal does not keep comes back as 0, and
  // m_CountCopy as m_Count.
  PacketDbItemPacked* Pack(PacketDbItem* item) const;
  PacketDbItem* Unpack(PacketDbItemPacked* record) const;

  // A new file storage, to be opened with Init.
  static boost::shared_ptr<IJournalStorage> QueryJournalStorage();

  // What the record file says to opening `path` read-only with today's magic and a record size of
  // 80, which is deliberately not that of our records: a sound journal gives -6. Converts nothing.
  // -16 when there is no memory for the record file; what that throws while it is made comes out.
  static int CheckIntegrity(const std::string& path, std::size_t maxRecords);

  // Adds the records of this storage that were seen between `from` and `to` (Unix seconds) to the
  // front of `selection`. The name goes into the query only and picks no storage. Returns false,
  // with the selection untouched, for a name of 32 bytes or more. Throws what its iterator throws.
  bool ReadPackets(time_t from, time_t to, const std::string& ifname, DbItemSelection& selection);
};

// The storage of a journal that is switched off: accepts everything, keeps nothing.
class PACKETDB_EXPORT DatabaseStorage : public IJournalStorage {
 public:
  DatabaseStorage();
  ~DatabaseStorage() override;

  StorageIterPtr CreateStorageIter(const Query& query) override;
  int Init(const std::string& path, int maxRecords, int mode, time_t timeDiff) override;
  void Done() override;
  std::string GetFileName() const override;
  time_t getTimeDiff() const override;
  int RecordCount() const override;
  int FetchRecord(int position, PacketDbItem* item) const override;
  int FetchRecords(int first, void* buffer, int count) const override;
  int AddRecord(const CDrvErrorItemV4* event, std::size_t adapterNameHash,
                const std::string& interfaceName) override;
  PacketDbItem* InvertEndian(PacketDbItemPacked* record) const override;

 private:
  std::string m_FileName;
  time_t m_TimeDiff;
};

// An event that the index remembers, as last written to the journal.
struct CLinkedDrvErrorItem : PacketDbItem {
  CLinkedDrvErrorItem* m_Next = nullptr;  // next newer in order of insertion
  int m_RecordIndex = 0;                  // what AppendRecord returned for its record
};

// The order of events by identity: the 39 bytes of the event from m_SrcIp to m_Dword23 as they are
// stored, then the interface. Counts, sizes and times take no part.
struct PACKETDB_EXPORT DrvErrorItemLess {
  bool operator()(const CLinkedDrvErrorItem* a, const CLinkedDrvErrorItem* b) const;
};

// The events that still take up repeats: found by identity, forgotten in order of insertion, by
// number and by age. Age counts from an event's first packet, so that one which never stops
// repeating still starts a new record every window.
class PACKETDB_EXPORT DrvErrorItemsIndex {
 public:
  DrvErrorItemsIndex();
  ~DrvErrorItemsIndex();
  DrvErrorItemsIndex(const DrvErrorItemsIndex&) = delete;
  DrvErrorItemsIndex& operator=(const DrvErrorItemsIndex&) = delete;

  // Sets the capacity; evicts nothing now. 0 keeps nothing, a negative one has no bound.
  void Init(int maxItems);
  // The node of the same event, or null. The index keeps owning it.
  CLinkedDrvErrorItem* FindItem(PacketDbItem* item);
  // A node with a copy of the event, not yet in the index, which AddItem has to get; the memory is
  // the index's own. Null when memory is exhausted.
  CLinkedDrvErrorItem* NewItem(PacketDbItem* item) const;
  // Takes over a node whose event the index does not hold, and forgets the oldest when that is one
  // too many. The node may be gone afterwards: at once with capacity 0, or when there is no memory
  // for its place in the index.
  void AddItem(CLinkedDrvErrorItem* node);
  // Forgets the oldest event; nothing when there is none.
  void RemoveFirstItem();
  // Forgets, from the oldest on, the events whose first packet lies `interval` seconds back or
  // more, up to the first that does not.
  void RemoveExpiredItems(time_t interval);
  // Forgets everything; the capacity stays.
  void Done();

 private:
  friend class DbFileStorage;

  // Gives back a node that was not added after all.
  PACKETDB_INTERNAL void ReturnItem(CLinkedDrvErrorItem* node) const;

  IdentitySet m_Items;  // in the order of DrvErrorItemLess
  std::size_t m_MaxItems;
  CLinkedDrvErrorItem* m_First;
  CLinkedDrvErrorItem* m_Last;
  mutable NodePool m_Nodes;
};

// The journal in a record file.
class PACKETDB_EXPORT DbFileStorage : public IJournalStorage {
 public:
  DbFileStorage();
  ~DbFileStorage() override;  // does not call Done
  DbFileStorage(const DbFileStorage&) = delete;
  DbFileStorage& operator=(const DbFileStorage&) = delete;

  StorageIterPtr CreateStorageIter(const Query& query) override;
  int Init(const std::string& path, int maxRecords, int mode, time_t timeDiff) override;
  void Done() override;
  std::string GetFileName() const override;
  time_t getTimeDiff() const override;
  int RecordCount() const override;
  int FetchRecord(int position, PacketDbItem* item) const override;
  int FetchRecords(int first, void* buffer, int count) const override;
  // Merges the event into the record of the same event, when that is still in the merge window and
  // not newer, and appends it otherwise. An event that is older than the one it repeats makes the
  // storage forget all repeats that it watches for. Failures of the file are not reported; without
  // memory the event is dropped, with a line at level 1.
  int AddRecord(const CDrvErrorItemV4* event, std::size_t adapterNameHash,
                const std::string& interfaceName) override;
  PacketDbItem* InvertEndian(PacketDbItemPacked* record) const override;

  // Rebuild a journal of an earlier release at `path` as one of today's, copying it to
  // `path` + ".~tmp" and then moving that into place. Init calls them; `mode` goes to the record
  // file for the old journal, and with bit 2 for the new one. Both return -6 when the file is not
  // of their format or the new one cannot be made, with the old file as it was. Otherwise it has
  // been replaced, also when the copy ended early at a failure: format 3 then returns 0, format 4.1
  // the result of the last record-file call, which for a complete copy of several records is
  // positive. Throw boost::filesystem::filesystem_error when the files cannot be moved.
  int TryConvertDbFromOldFormat3(const std::string& path, int maxRecords, int mode);
  int TryConvertDbFromOldFormat41(const std::string& path, int maxRecords, int mode);

  // The one place where a build for a host of the other byte order would swap a record's fields;
  // here a copy in a static buffer, valid until the next call.
  PacketDbItem* InvertEndian(PacketDbItem* item) const;

 private:
  PACKETDB_INTERNAL int ConvertOldFormat(const std::string& path, int maxRecords, int mode);
  PACKETDB_INTERNAL void MergeInto(CLinkedDrvErrorItem* node, const CDrvErrorItemV4& event);
  PACKETDB_INTERNAL void AppendNew(PacketDbItem* item);

  DrvErrorItemsIndex m_Index;
  time_t m_TimeDiff;
  CDbFile* m_DbFile;
};

}  // namespace packetdb
