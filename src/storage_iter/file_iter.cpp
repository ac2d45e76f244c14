#include "packetdb/storage_iter.h"
#include "src/log.h"
#include "src/wrapping.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/storage_iter";

constexpr std::uint32_t kNotStarted = 0xFFFFFFFF;
constexpr std::uint32_t kBatch = 100;
constexpr std::size_t kRecordSize = sizeof(PacketDbItemPacked);

}  // namespace

UnixDbFileStorageIter::UnixDbFileStorageIter(const DbFileStorage& storage, const Query& query)
    : m_buffer(std::make_unique_for_overwrite<std::uint8_t[]>(kBatch * kRecordSize)),
      m_query(&query),
      m_storage(&storage),
      m_pos_(kNotStarted),
      m_count(0),
      m_fetched(-1),
      m_index_(0),
      m_endBound(WrappingSubtract(WrappingAdd(query.m_TimeEnd, storage.getTimeDiff()),
                                  TIME_1980_OFFSET)) {}

UnixDbFileStorageIter::~UnixDbFileStorageIter() = default;

void UnixDbFileStorageIter::SelectRecords(DbItemSelection& selection) {
  while (const PacketDbItem* item = next()) {
    selection.push_front(*item);
  }
}

const PacketDbItem* UnixDbFileStorageIter::next() {
  if (m_pos_ == kNotStarted) {
    FindStart();
  }
  while (m_pos_ < m_count) {
    if (m_index_ == 0) {
      Refill();
    }
    DecodeNext();
    if (AtEnd()) {
      PACKETDB_LOG(log::kTrace) << "out of range at " << m_pos_ << " position";
      break;  // without moving on, so that every later call ends here too
    }
    Advance();
    if (m_query->match(m_item)) {
      PACKETDB_LOG(log::kTrace) << "returning item to server, m_index_ " << m_index_;
      return &m_item;
    }
  }
  PACKETDB_LOG(log::kTrace) << "exit. position at " << m_pos_ << ", count " << m_count;
  return nullptr;
}

// Bisects for the first record whose m_FirstTime is not before the range. A record that cannot be
// read is compared as whatever the storage made of it.
void UnixDbFileStorageIter::FindStart() {
  m_count = static_cast<std::uint32_t>(m_storage->RecordCount());
  const std::int64_t start = WrappingSubtract(
      WrappingSubtract(m_query->m_TimeStart, TIME_1980_OFFSET), m_storage->getTimeDiff());
  PACKETDB_LOG(log::kTrace) << "have records " << m_count;
  PacketDbItem probe;
  int left = 0;
  int right = static_cast<int>(m_count);
  while (left < right) {
    const int middle = left + ((right - left) >> 1);
    m_storage->FetchRecord(middle, &probe);
    if (probe.m_Item.m_FirstTime < start) {
      // "matches" deliberately stands for a record that lies before the range.
      PACKETDB_LOG(log::kTrace) << "record matches at " << middle << "'th position, left " << left
                                << ", right " << right;
      left = middle + 1;
    } else {
      PACKETDB_LOG(log::kTrace) << "did not match, let's shift to left, i " << middle << ", left "
                                << left << ", right " << right;
      right = middle;
    }
  }
  m_pos_ = static_cast<std::uint32_t>(left);
  PACKETDB_LOG(log::kTrace) << "break at " << m_pos_;
}

void UnixDbFileStorageIter::Refill() {
  const std::uint32_t wanted = m_count < m_pos_ + kBatch ? m_count - m_pos_ : kBatch;
  m_fetched =
      m_storage->FetchRecords(static_cast<int>(m_pos_), m_buffer.get(), static_cast<int>(wanted));
  if (m_fetched < 1) {
    PACKETDB_LOG(log::kTrace) << "failed with error " << m_fetched << ", m_pos_ " << m_pos_
                              << ", count " << m_count;
    throw XPacketDb("", true);
  }
}

void UnixDbFileStorageIter::DecodeNext() {
  std::uint8_t* packed = m_buffer.get() + static_cast<std::size_t>(m_index_) * kRecordSize;
  m_item = *m_storage->InvertEndian(reinterpret_cast<PacketDbItemPacked*>(packed));
}

// Signed, unlike the comparison in Query::match: a query with a negative end stops here at once.
bool UnixDbFileStorageIter::AtEnd() const {
  return std::int64_t{m_item.m_Item.m_LastTime} > m_endBound;
}

// An index that comes round to 0 makes the next step read the next batch.
void UnixDbFileStorageIter::Advance() {
  ++m_pos_;
  m_index_ = (m_index_ + 1) % m_fetched;
}

}  // namespace packetdb
