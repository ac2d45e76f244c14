// A journal in a few numbers.
#pragma once

#include <cstdint>
#include <optional>

#include "host/journals/journal_format.h"
#include "host/record_file/snapshot.h"

namespace packetdb::host {

// How fast records have been coming: those that were first seen in the newest tenth of the time
// between the first-seen times of the oldest and the newest record, at least a second.
struct RecentRate {
  std::uint64_t records = 0;
  std::uint32_t seconds = 1;

  double PerSecond() const { return static_cast<double>(records) / seconds; }
};

// Times are in seconds since 1980; sums are over the records that could be read.
struct JournalSummary {
  std::uint64_t read = 0;     // records that were read
  std::uint64_t gone = 0;     // overwritten by newer ones before they could be read
  std::uint64_t damaged = 0;  // not whole
  std::uint64_t lost = 0;     // never flushed before the machine stopped
  std::uint64_t packets = 0;
  std::uint32_t oldest = 0;  // when the event of the oldest record was first seen
  std::uint32_t newest = 0;  // when an event of any record was last seen
  // None when all records were first seen in one second, or time goes back.
  std::optional<RecentRate> recent;
};

// Reads every record of a snapshot that has begun, in a journal of `format`, which is not kOther.
// `summary` is untouched on failure.
RecordFileResult Summarise(Snapshot& snapshot, JournalFormat format, JournalSummary* summary);

}  // namespace packetdb::host
