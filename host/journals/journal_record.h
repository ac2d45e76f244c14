// The records of every journal format, field by field.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "host/journals/journal_format.h"
#include "packetdb/storage.h"

namespace packetdb::host {

// A field of a record, by the name that packetdb/storage.h gives it. The records of formats 3 and
// 4.1 have some of the fields of format 4, in its order.
struct RecordField {
  const char* name;
  std::size_t offset;  // in a record of format 4
  std::size_t size;    // 1, 2, 4 or 8 bytes
};

// The fields that records of `format` have; none for kOther.
std::span<const RecordField> FieldsOf(JournalFormat format);

// Where the field is in a record of `format`, which has it.
std::size_t OffsetIn(JournalFormat format, std::size_t offset);

// A stored record of `format`, which is not kOther, as one of format 4; fields that it does not
// have are 0. `bytes` are as many as the format's records have.
PacketDbItemPacked DecodeRecord(JournalFormat format, const std::byte* bytes);

// The value of a field.
std::uint64_t ValueOf(const PacketDbItemPacked& record, const RecordField& field);

// When the event was last seen, seconds since 1980: m_LastTime, or m_FirstTime where the record has
// no other, as in format 3 and in what was converted from it.
std::uint32_t LastSeen(const PacketDbItemPacked& record);

}  // namespace packetdb::host
