#include "host/status/journal_file.h"

#include <algorithm>

#include "host/journals/journal_record.h"
#include "host/record_file/snapshot.h"

namespace packetdb::host {
namespace {

// From either end: records beyond may be damaged, or overwritten while they are looked for.
constexpr std::uint64_t kMostLooks = 1024;

// In seconds since 1980.
struct Ends {
  bool is_known = false;
  std::uint32_t oldest_first = 0;
  std::uint32_t newest_first = 0;
  std::uint32_t newest_last = 0;
  std::uint64_t newest = 0;  // number of the newest record that is whole
};

RecordFileResult FindOldest(Snapshot& snapshot, JournalFormat format, Ends* ends) {
  const std::uint64_t end = std::min(snapshot.end(), snapshot.oldest() + kMostLooks);
  for (std::uint64_t sequence = snapshot.oldest(); sequence < end; ++sequence) {
    SnapshotRecord record;
    const RecordFileResult result = snapshot.Read(sequence, &record);
    if (result < 0) return result;
    if (record.fate != RecordFate::kWhole) continue;
    ends->oldest_first = DecodeRecord(format, record.bytes).m_FirstTime;
    ends->is_known = true;
    break;
  }
  return kRecordFileOk;
}

// The newest record tells when it was first seen; repeats may have gone to those before it since.
RecordFileResult FindNewest(Snapshot& snapshot, JournalFormat format, Ends* ends) {
  const std::uint64_t looks = std::min(kMostLooks, snapshot.window().size());
  bool is_found = false;
  for (std::uint64_t i = 1; i <= looks; ++i) {
    SnapshotRecord stored;
    const RecordFileResult result = snapshot.Read(snapshot.end() - i, &stored);
    if (result < 0) return result;
    if (stored.fate != RecordFate::kWhole) continue;
    const PacketDbItemPacked record = DecodeRecord(format, stored.bytes);
    ends->newest_last = std::max(ends->newest_last, LastSeen(record));
    if (is_found) continue;
    is_found = true;
    ends->newest_first = record.m_FirstTime;
    ends->newest = stored.sequence;
  }
  ends->is_known = ends->is_known && is_found;
  return kRecordFileOk;
}

std::int64_t UnixTime(std::uint32_t seconds) { return std::int64_t{seconds} + TIME_1980_OFFSET; }

// Within what a journal can hold.
std::uint32_t JournalTime(std::int64_t unix_seconds) {
  constexpr std::int64_t kLatest = 0xFFFFFFFF;
  return static_cast<std::uint32_t>(
      std::clamp(unix_seconds - TIME_1980_OFFSET, std::int64_t{0}, kLatest));
}

RecordFileResult ReadTimes(Snapshot& snapshot, std::int64_t now, JournalFile* file) {
  Ends ends;
  RecordFileResult result = FindOldest(snapshot, file->format, &ends);
  if (result == kRecordFileOk) result = FindNewest(snapshot, file->format, &ends);
  if (result < 0 || !ends.is_known) return result;
  file->oldest = UnixTime(ends.oldest_first);
  file->newest = UnixTime(ends.newest_last);
  const std::uint32_t end = std::max(ends.newest_first, JournalTime(now));
  return FindRecentRate(snapshot, file->format, {ends.oldest_first, end, ends.newest},
                        &file->recent);
}

void ReadFacts(const FileFacts& facts, const Window& window, JournalFile* file) {
  file->format = FormatOf(facts);
  file->layout_version = facts.layout_version;
  file->life = LifeOf(facts.state, file->writer);
  file->file_bytes = facts.length;
  file->capacity = facts.format.capacity;
  file->records = window.size();
  file->next = window.end;
  file->merged = facts.state.merges;
  file->overwritten = Overwritten(facts, window.end, window.size());
  file->appended = file->overwritten + window.size();
  file->damaged = facts.state.damaged;
  file->lost = facts.state.lost_unsynced;
}

// A rate of nothing tells of no time to come.
std::optional<std::uint64_t> SecondsFor(std::uint64_t records,
                                        const std::optional<RecentRate>& recent) {
  if (!recent || recent->records == 0) return std::nullopt;
  return static_cast<std::uint64_t>(static_cast<double>(records) / recent->PerSecond());
}

}  // namespace

std::optional<double> JournalFile::FillPercent() const {
  if (!HasBound()) return std::nullopt;
  return 100.0 * static_cast<double>(records) / static_cast<double>(capacity);
}

std::optional<std::uint64_t> JournalFile::SecondsToOverwriting() const {
  if (!HasBound()) return std::nullopt;
  return IsOverwriting() ? 0 : SecondsFor(capacity - records, recent);
}

std::optional<std::uint64_t> JournalFile::SecondsKept() const {
  return HasBound() ? SecondsFor(capacity, recent) : std::nullopt;
}

std::optional<double> JournalFile::EventsPerRecord() const {
  if (appended == 0) return std::nullopt;
  return static_cast<double>(appended + merged) / static_cast<double>(appended);
}

RecordFileResult ReadJournalFile(const std::string& path, std::int64_t now, JournalFile* out) {
  Descriptor descriptor;
  RecordFileResult result = OpenUnlocked(path, Access::kRead, &descriptor);
  if (result < 0) return result;
  Snapshot snapshot(descriptor);
  JournalFile file;
  result = snapshot.Begin();
  if (result == kRecordFileOk) result = FindWriter(descriptor, &file.writer);
  if (result < 0) return result;
  ReadFacts(snapshot.facts(), snapshot.window(), &file);
  if (file.format == JournalFormat::kOther) return kOtherFormat;
  result = ReadTimes(snapshot, now, &file);
  if (result == kRecordFileOk) *out = file;
  return result;
}

}  // namespace packetdb::host
