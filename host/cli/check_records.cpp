#include "host/cli/check_records.h"

#include <cstddef>
#include <fmt/format.h>

#include "host/cli/journal_record.h"
#include "packetdb/storage.h"

namespace packetdb::host {

namespace {

class RecordChecker {
 public:
  RecordChecker(JournalFormat format, const FindingSink& sink) : format_(format), sink_(sink) {}

  void Check(const SnapshotRecord& stored) {
    const PacketDbItemPacked record = DecodeRecord(format_, stored.bytes);
    CheckCounts(stored, record);
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

  bool CheckTimes(const SnapshotRecord& stored, const PacketDbItemPacked& record) {
    const std::uint32_t first = record.m_FirstTime;
    const std::uint32_t last = LastSeen(record);
    if (first > last) {
      Find(stored, offsetof(PacketDbItemPacked, m_LastTime), Severity::kDamage, kFindTimes,
           fmt::format("it was last seen at {}, before it was first seen at {}", last, first));
    }
    return first <= last;
  }

  void CheckOrder(const SnapshotRecord& stored, const PacketDbItemPacked& record) {
    const std::uint32_t first = record.m_FirstTime;
    if (first < latest_first_) {
      Find(stored, offsetof(PacketDbItemPacked, m_FirstTime), Severity::kWarning, kFindOrder,
           fmt::format("it was first seen at {}, before an older record at {}: searches by time "
                       "may miss records",
                       first, latest_first_));
    } else {
      latest_first_ = first;
    }
  }

  const JournalFormat format_;
  const FindingSink& sink_;
  std::uint32_t latest_first_ = 0;  // seconds since 1980
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
      case RecordFate::kUnstable:
        ++checked->unstable;
        sink({record.offset, Severity::kWarning, kFindUnstable,
              fmt::format("record {}: it changed whenever it was read", sequence)});
    }
  }
  return kRecordFileOk;
}

}  // namespace packetdb::host
