#include <memory>
#include <unistd.h>

#include "packetdb/journal_format.h"
#include "packetdb/storage.h"
#include "platform/record_file.h"
#include "src/log.h"
#include "src/storage/other_format.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/storage";

}  // namespace

DbFileStorage::DbFileStorage() : m_TimeDiff(0), m_DbFile(new CDbFile) {}

// The owner calls Done first: whether a journal that it drops without counts as closed is for it to
// say, not for us.
DbFileStorage::~DbFileStorage() { delete m_DbFile; }

int DbFileStorage::Init(const std::string& path, int maxRecords, int mode, time_t timeDiff) {
  m_TimeDiff = timeDiff;
  PACKETDB_LOG(log::kTrace) << "fname " << path << ", max number of records " << maxRecords
                            << ", timediff = " << timeDiff;
  m_Index.Init(maxRecords);
  const auto capacity = static_cast<unsigned long>(maxRecords);  // a negative one becomes huge
  for (;;) {
    const int status = m_DbFile->Init(path, kJournalMagic, kJournalRecordSize, capacity, mode);
    if (status >= 0) {
      PACKETDB_LOG(log::kTrace) << "Packet DB V4 initialized (records=" << RecordCount()
                                << ") for pid " << getpid();
      return 0;
    }
    if (status != kOtherFormat) {
      return status;
    }
    if (const int converted = ConvertOldFormat(path, maxRecords, mode); converted != 0) {
      return converted;
    }
  }
}

// 0 when the file has been rebuilt and can be opened again.
int DbFileStorage::ConvertOldFormat(const std::string& path, int maxRecords, int mode) {
  const int status = TryConvertDbFromOldFormat3(path, maxRecords, mode);
  return status == kOtherFormat ? TryConvertDbFromOldFormat41(path, maxRecords, mode) : status;
}

void DbFileStorage::Done() {
  m_DbFile->Done();
  m_Index.Done();
}

std::string DbFileStorage::GetFileName() const { return m_DbFile->GetFilePath(); }

time_t DbFileStorage::getTimeDiff() const { return m_TimeDiff; }

int DbFileStorage::RecordCount() const { return m_DbFile->RecordCount(); }

int DbFileStorage::FetchRecord(int position, PacketDbItem* item) const {
  PacketDbItemPacked record{};  // a failed read is decoded all the same
  const int status = m_DbFile->ReadRecord(position, &record);
  *item = *InvertEndian(&record);
  return status;
}

int DbFileStorage::FetchRecords(int first, void* buffer, int count) const {
  return m_DbFile->ReadRecords(first, buffer, count);
}

int DbFileStorage::AddRecord(const CDrvErrorItemV4* event, std::size_t adapterNameHash,
                             const std::string& /*interfaceName*/) {
  PacketDbItem item(event, adapterNameHash);
  m_Index.RemoveExpiredItems(m_TimeDiff);
  CLinkedDrvErrorItem* node = m_Index.FindItem(&item);
  if (node != nullptr && node->m_Item.m_LastTime > event->m_LastTime) {
    // The clock went backwards. Deliberately everything is forgotten, not this event alone: what
    // else the index holds was seen by the same clock.
    m_Index.Done();
    node = nullptr;
  }
  if (node != nullptr) {
    MergeInto(node, item.m_Item);
  } else {
    AppendNew(&item);
  }
  return 0;
}

void DbFileStorage::MergeInto(CLinkedDrvErrorItem* node, const CDrvErrorItemV4& event) {
  PACKETDB_LOG(log::kTrace) << "FindItem() found item";
  node->m_Item.m_Count += event.m_Count;
  node->m_Item.m_PacketSize += event.m_PacketSize;
  node->m_Item.m_LastTime = event.m_LastTime;
  const PacketDbItemPacked record = *Pack(InvertEndian(node));
  PACKETDB_LOG(log::kTrace) << "m_PacketSize: Original=" << event.m_PacketSize
                            << ", Stored=" << node->m_Item.m_PacketSize;
  m_DbFile->WriteRecord(node->m_RecordIndex, &record);
}

void DbFileStorage::AppendNew(PacketDbItem* item) {
  PACKETDB_LOG(log::kTrace) << "FindItem() did not find item";
  const auto give_back = [this](CLinkedDrvErrorItem* node) { m_Index.ReturnItem(node); };
  std::unique_ptr<CLinkedDrvErrorItem, decltype(give_back)> node(m_Index.NewItem(item), give_back);
  if (node == nullptr) {
    PACKETDB_LOG(log::kFailure) << "Failed to add record";
    return;
  }
  const PacketDbItemPacked record = *Pack(InvertEndian(item));
  PACKETDB_LOG(log::kTrace) << "m_PacketSize: Original=" << item->m_Item.m_PacketSize;
  node->m_RecordIndex = m_DbFile->AppendRecord(&record);  // a negative one names no record, and
                                                          // the file refuses merges into it
  m_Index.AddItem(node.release());
}

}  // namespace packetdb
