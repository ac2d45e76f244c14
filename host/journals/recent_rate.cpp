#include "host/journals/recent_rate.h"

#include <algorithm>

#include "host/journals/journal_record.h"

namespace packetdb::host {

namespace {

// A record that is gone was among the oldest.
bool IsLaterThan(JournalFormat format, const SnapshotRecord& stored, std::uint32_t time) {
  return stored.fate == RecordFate::kWhole && DecodeRecord(format, stored.bytes).m_FirstTime > time;
}

}  // namespace

RecordFileResult FindRecentRate(Snapshot& snapshot, JournalFormat format, const RateSpan& span,
                                std::optional<RecentRate>* rate) {
  if (span.end <= span.begin) {
    *rate = std::nullopt;
    return kRecordFileOk;
  }
  constexpr std::uint32_t kShare = 10;
  const std::uint32_t seconds = std::max(1U, (span.end - span.begin) / kShare);
  std::uint64_t before = snapshot.oldest();  // records before it are older than the tenth
  std::uint64_t after = span.newest + 1;     // it and those behind it are of the tenth
  while (before < after) {
    const std::uint64_t middle = before + (after - before) / 2;
    SnapshotRecord record;
    if (const RecordFileResult result = snapshot.Read(middle, &record); result < 0) {
      return result;
    }
    IsLaterThan(format, record, span.end - seconds) ? after = middle : before = middle + 1;
  }
  *rate = RecentRate{span.newest + 1 - after, seconds};
  return kRecordFileOk;
}

}  // namespace packetdb::host
