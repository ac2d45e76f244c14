#include "host/journals/journal_record.h"

#include <array>
#include <cstring>

#include "packetdb/journal_format.h"

namespace packetdb::host {

namespace {

#define PACKETDB_FIELD(name) \
  RecordField { #name, offsetof(PacketDbItemPacked, name), sizeof(PacketDbItemPacked::name) }

constexpr std::array kFields = {
    PACKETDB_FIELD(m_AdapterNameHash), PACKETDB_FIELD(m_SrcIp),      PACKETDB_FIELD(m_DstIp),
    PACKETDB_FIELD(m_Flags),           PACKETDB_FIELD(m_ErrorCode),  PACKETDB_FIELD(m_Word10),
    PACKETDB_FIELD(m_Protocol),        PACKETDB_FIELD(m_SrcPort),    PACKETDB_FIELD(m_DstPort),
    PACKETDB_FIELD(m_SrcId),           PACKETDB_FIELD(m_DstId),      PACKETDB_FIELD(m_Dword1F),
    PACKETDB_FIELD(m_Dword23),         PACKETDB_FIELD(m_Count),      PACKETDB_FIELD(m_Byte2B),
    PACKETDB_FIELD(m_CountCopy),       PACKETDB_FIELD(m_FirstTime),  PACKETDB_FIELD(m_LastTime),
    PACKETDB_FIELD(m_Dword38),         PACKETDB_FIELD(m_PacketSize),
};

#undef PACKETDB_FIELD

constexpr std::size_t kFormat3Fields = 17;
static_assert(kFields[kFormat3Fields].offset == kFormat3RecordSize,
              "format 3 ends before m_LastTime");
constexpr std::size_t kFormat41Begin = offsetof(PacketDbItemPacked, m_SrcIp);
static_assert(kFormat41Begin + kFormat41RecordSize == kJournalRecordSize,
              "format 4.1 lacks the hash in front and nothing else");

// Where the records of a format begin in one of format 4.
std::size_t BeginOf(JournalFormat format) {
  return format == JournalFormat::k41 ? kFormat41Begin : 0;
}

std::size_t SizeOf(JournalFormat format) {
  switch (format) {
    case JournalFormat::k3:
      return kFormat3RecordSize;
    case JournalFormat::k41:
      return kFormat41RecordSize;
    case JournalFormat::k4:
      return kJournalRecordSize;
    default:
      return 0;
  }
}

}  // namespace

std::span<const RecordField> FieldsOf(JournalFormat format) {
  const std::span<const RecordField> all(kFields);
  switch (format) {
    case JournalFormat::k3:
      return all.first(kFormat3Fields);
    case JournalFormat::k41:
      return all.subspan(1);
    case JournalFormat::k4:
      return all;
    default:
      return {};
  }
}

std::size_t OffsetIn(JournalFormat format, std::size_t offset) { return offset - BeginOf(format); }

PacketDbItemPacked DecodeRecord(JournalFormat format, const std::byte* bytes) {
  std::array<std::byte, kJournalRecordSize> whole = {};
  std::memcpy(whole.data() + BeginOf(format), bytes, SizeOf(format));
  PacketDbItemPacked record;
  std::memcpy(&record, whole.data(), sizeof record);
  return record;
}

std::uint64_t ValueOf(const PacketDbItemPacked& record, const RecordField& field) {
  std::uint64_t value = 0;  // little-endian, as records are: the low bytes come first
  std::memcpy(&value, reinterpret_cast<const std::byte*>(&record) + field.offset, field.size);
  return value;
}

std::uint32_t LastSeen(const PacketDbItemPacked& record) {
  return record.m_LastTime == 0 ? record.m_FirstTime : record.m_LastTime;
}

}  // namespace packetdb::host
