// What a journal file tells of itself, read beside whoever writes it, in time that does not depend
// on how many records there are.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/journals/file_life.h"
#include "host/journals/journal_format.h"
#include "host/journals/recent_rate.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// Times are Unix seconds, counts are of records unless they say otherwise.
struct JournalFile {
  JournalFormat format = JournalFormat::k4;
  std::uint32_t layout_version = 0;
  FileLife life = FileLife::kClosed;
  bool writer = false;  // somebody has it open for writing
  std::uint64_t file_bytes = 0;
  std::uint64_t capacity = 0;  // 0: no bound
  std::uint64_t records = 0;   // that it holds
  std::uint64_t next = 0;      // number of the next one

  // Since the journal was made.
  std::uint64_t appended = 0;
  std::uint64_t merged = 0;       // events that were added to a record that was there
  std::uint64_t overwritten = 0;  // replaced by newer ones
  std::uint64_t damaged = 0;      // found damaged
  std::uint64_t lost = 0;         // never flushed when the machine stopped

  // When the oldest record was first seen, and when one of the newest was last seen: an older one
  // may have been seen later, by less than the merge window. None when no record can be read.
  std::optional<std::int64_t> oldest;
  std::optional<std::int64_t> newest;
  // Of the newest tenth of the time from `oldest` to now.
  std::optional<RecentRate> recent;

  bool HasBound() const { return capacity != 0; }
  // Each new record overwrites the oldest.
  bool IsOverwriting() const { return HasBound() && records >= capacity; }
  // None without a bound.
  std::optional<double> FillPercent() const;
  // In how many seconds the oldest record is overwritten at the recent rate: 0 when that happens
  // already. None without a bound, and when nothing came recently.
  std::optional<std::uint64_t> SecondsToOverwriting() const;
  // How long a record is kept in a full journal at the recent rate; none as above.
  std::optional<std::uint64_t> SecondsKept() const;
  // Events that a record stands for on average; none when there never was one.
  std::optional<double> EventsPerRecord() const;
};

// Reads the journal at `path` at the Unix time `now`; takes no lock and changes nothing.
// kOtherFormat for what is no journal. `out` is untouched on failure.
RecordFileResult ReadJournalFile(const std::string& path, std::int64_t now, JournalFile* out);

}  // namespace packetdb::host
