#include "host/cli/check_records.h"

#include <cstddef>
#include <fmt/format.h>

#include "host/journals/journal_record.h"
#include "packetdb/storage.h"

namespace packetdb::host {

namespace {

class RecordChecker {
 public:
  RecordChecker(JournalFormat format, const FindingSink& sink) : format_(format), sink_(sink) {}

  void Check(const SnapshotRecord& stored) {
    const PacketDbItemPacked record = DecodeRecord(format_, stored.bytes);
    CheckCounts(stored, record);
    CheckReservedFields(stored, record);
    // A first-seen time that is damaged says nothing about the records behind it.
    if (CheckTimes(stored, record)) {
      CheckOrder(stored, record);
    }
  }

 private:
  void Find(const SnapshotRecord& stored, std::size_t offset, Severity severity,
            std::string_view kind, const std::string& text) {
    sink_({stored.offset + OffsetIn(format_, offset), severity, kind,
           fmt::format("record {}: {}", stored.sequence, text)});
  }

  void CheckCounts(const SnapshotRecord& stored, const PacketDbItemPacked& record) {
    const std::uint32_t count = record.m_Count;
    const std::uint32_t copy = record.m_CountCopy;
    if (count == 0) {
      Find(stored, offsetof(PacketDbItemPacked, m_Count), Severity::kDamage, kFindCount,
           "it stands for no packet");
    }
    // What earlier releases kept in the second place is not known to be the same.
    if (format_ == JournalFormat::k4 && count != copy) {
      Find(stored, offsetof(PacketDbItemPacked, m_CountCopy), Severity::kDamage, kFindCountCopy,
           fmt::format("its count is {} in one place and {} in the other", count, copy));
    }
  }

  // Earlier releases may have kept something there.
  void CheckReservedFields(const SnapshotRecord& stored, const PacketDbItemPacked& record) {
    if (format_ != JournalFormat::k4) {
      return;
    }
    for (const RecordField& field : FieldsOf(format_)) {
      const bool is_reserved = field.offset == offsetof(PacketDbItemPacked, m_Dword23) ||
                               field.offset == offsetof(PacketDbItemPacked, m_Byte2B);
      if (is_reserved && ValueOf(record, field) != 0) {
        // No damage for sure: a conversion carries over what an old record had there.
        Find(stored, field.offset, Severity::kWarning, kFindReservedField,
             fmt::format("its {} is {}, not 0", field.name, ValueOf(record, field)));
      }
    }
  }

  bool CheckTimes(const SnapshotRecord& stored, const PacketDbItemPacked& record) {
    const std::uint32_t first = record.m_FirstTime;
    const std::uint32_t last = LastSeen(record);
    if (first > last) {
      Find(stored, offsetof(PacketDbItemPacked, m_LastTime), Severity::kDamage, kFindTimes,
           fmt::format("it was last seen at {}, before it was first seen at {}", last, first));
    }
    // Queries compare what is stored, and conversion by the library alone stores 0.
    if (format_ == JournalFormat::k4 && record.m_LastTime == 0 && first != 0) {
      Find(stored, offsetof(PacketDbItemPacked, m_LastTime), Severity::kWarning, kFindTimes,
           "it has no last-seen time; queries by time miss it");
    }
    return first <= last;
  }

  void CheckOrder(const SnapshotRecord& stored, const PacketDbItemPacked& record) {
    const std::uint32_t first = record.m_FirstTime;
    if (first < previous_first_) {
      Find(stored, offsetof(PacketDbItemPacked, m_FirstTime), Severity::kWarning, kFindOrder,
           fmt::format("it was first seen at {}, before record {} at {}: searches by time may "
                       "miss records",
                       first, previous_, previous_first_));
    }
    previous_ = stored.sequence;
    previous_first_ = first;
  }

  const JournalFormat format_;
  const FindingSink& sink_;
  // Of the record before: compared with the latest time so far, one record from the future would
  // have every later one blamed.
  std::uint64_t previous_ = 0;
  std::uint32_t previous_first_ = 0;  // seconds since 1980
};

}  // namespace

RecordFileResult CheckRecords(Snapshot& snapshot, JournalFormat format, const FindingSink& sink,
                              RecordsChecked* checked) {
  RecordChecker checker(format, sink);
  for (std::uint64_t sequence = snapshot.oldest(); sequence < snapshot.end(); ++sequence) {
    SnapshotRecord record;
    if (const RecordFileResult result = snapshot.Read(sequence, &record); result < 0) {
      return result;
    }
    switch (record.fate) {
      case RecordFate::kWhole:
        ++checked->whole;
        checker.Check(record);
        break;
      case RecordFate::kGone:
        ++checked->gone;
        break;
      case RecordFate::kMissing: {
        const std::uint64_t end = snapshot.EndOfMissing(sequence);
        checked->missing += end - sequence;
        sequence = end - 1;
        break;
      }
      case RecordFate::kLost:
        ++checked->lost;
        break;
      case RecordFate::kDamaged:
        ++checked->damaged;
    }
  }
  return kRecordFileOk;
}

}  // namespace packetdb::host
