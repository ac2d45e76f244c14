#include "host/cli/journal_summary.h"

#include <algorithm>

#include "host/cli/journal_record.h"

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

  // First-seen times never decrease along a journal, so the newest tenth is bisected for.
  RecordFileResult FindRecentRate(JournalSummary* summary) {
    if (summary->read == 0 || newest_first_ <= summary->oldest) {
      return kRecordFileOk;
    }
    constexpr std::uint32_t kShare = 10;
    const std::uint32_t seconds = std::max(1U, (newest_first_ - summary->oldest) / kShare);
    std::uint64_t before = snapshot_.oldest();  // records before it are older than the tenth
    std::uint64_t after = newest_;              // it and those behind it are of the tenth
    while (before < after) {
      const std::uint64_t middle = before + (after - before) / 2;
      SnapshotRecord record;
      if (const RecordFileResult result = snapshot_.Read(middle, &record); result < 0) {
        return result;
      }
      IsRecent(record, seconds) ? after = middle : before = middle + 1;
    }
    summary->recent = RecentRate{newest_ - after + 1, seconds};
    return kRecordFileOk;
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

  // A record that is gone was among the oldest.
  bool IsRecent(const SnapshotRecord& stored, std::uint32_t seconds) const {
    return stored.fate == RecordFate::kWhole &&
           DecodeRecord(format_, stored.bytes).m_FirstTime > newest_first_ - seconds;
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
    result = summariser.FindRecentRate(&fresh);
  }
  if (result == kRecordFileOk) {
    *summary = fresh;
  }
  return result;
}

}  // namespace packetdb::host
