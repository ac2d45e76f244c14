// A journal in a few numbers.
#pragma once

#include <cstdint>
#include <optional>

#include "host/journals/journal_format.h"
#include "host/journals/recent_rate.h"
#include "host/record_file/snapshot.h"

namespace packetdb::host {

// Times are in seconds since 1980; sums are over the records that could be read.
struct JournalSummary {
  std::uint64_t read = 0;     // records that were read
  std::uint64_t gone = 0;     // overwritten by newer ones before they could be read
  std::uint64_t damaged = 0;  // not whole
  std::uint64_t lost = 0;     // never flushed before the machine stopped
  std::uint64_t packets = 0;
  std::uint32_t oldest = 0;  // when the event of the oldest record was first seen
  std::uint32_t newest = 0;  // when an event of any record was last seen
  // Up to when the newest record was first seen; none when all were in one second, or time goes
  // back.
  std::optional<RecentRate> recent;
};

// Reads every record of a snapshot that has begun, in a journal of `format`, which is not kOther.
// `summary` is untouched on failure.
RecordFileResult Summarise(Snapshot& snapshot, JournalFormat format, JournalSummary* summary);

}  // namespace packetdb::host
