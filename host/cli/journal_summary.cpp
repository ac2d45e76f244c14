#include "host/cli/journal_summary.h"

#include <algorithm>

#include "host/journals/journal_record.h"

namespace packetdb::host {

namespace {

class Summariser {
 public:
  Summariser(Snapshot& snapshot, JournalFormat format) : snapshot_(snapshot), format_(format) {}

  RecordFileResult ReadAll(JournalSummary* summary) {
    for (std::uint64_t sequence = snapshot_.oldest(); sequence < snapshot_.end(); ++sequence) {
      SnapshotRecord record;
      if (const RecordFileResult result = snapshot_.Read(sequence, &record); result < 0) {
        return result;
      }
      Count(record, summary);
    }
    return kRecordFileOk;
  }

  RecordFileResult FindRate(JournalSummary* summary) {
    if (summary->read == 0) {
      return kRecordFileOk;
    }
    const RateSpan span = {summary->oldest, newest_first_, newest_};
    return FindRecentRate(snapshot_, format_, span, &summary->recent);
  }

 private:
  void Count(const SnapshotRecord& stored, JournalSummary* summary) {
    summary->gone += stored.fate == RecordFate::kGone ? 1 : 0;
    summary->damaged += stored.fate == RecordFate::kDamaged ? 1 : 0;
    summary->lost += stored.fate == RecordFate::kLost ? 1 : 0;
    if (stored.fate != RecordFate::kWhole) {
      return;
    }
    const PacketDbItemPacked record = DecodeRecord(format_, stored.bytes);
    if (summary->read++ == 0) {
      summary->oldest = record.m_FirstTime;
    }
    summary->packets += record.m_Count;
    summary->newest = std::max(summary->newest, LastSeen(record));
    newest_first_ = record.m_FirstTime;
    newest_ = stored.sequence;
  }

  Snapshot& snapshot_;
  const JournalFormat format_;
  std::uint64_t newest_ = 0;        // sequence number of the newest record that was read
  std::uint32_t newest_first_ = 0;  // when its event was first seen, seconds since 1980
};

}  // namespace

RecordFileResult Summarise(Snapshot& snapshot, JournalFormat format, JournalSummary* summary) {
  Summariser summariser(snapshot, format);
  JournalSummary fresh;
  RecordFileResult result = summariser.ReadAll(&fresh);
  if (result == kRecordFileOk) {
    result = summariser.FindRate(&fresh);
  }
  if (result == kRecordFileOk) {
    *summary = fresh;
  }
  return result;
}

}  // namespace packetdb::host
