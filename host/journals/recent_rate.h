// How fast records have been coming.
#pragma once

#include <cstdint>
#include <optional>

#include "host/journals/journal_format.h"
#include "host/record_file/snapshot.h"

namespace packetdb::host {

// The records that were first seen in the newest tenth of a time, and its seconds, at least one.
struct RecentRate {
  std::uint64_t records = 0;
  std::uint32_t seconds = 1;

  double PerSecond() const { return static_cast<double>(records) / seconds; }
};

// The time that a rate is measured in, and where to look for it.
struct RateSpan {
  std::uint32_t begin = 0;   // when the oldest record was first seen, seconds since 1980
  std::uint32_t end = 0;     // when the newest was, or later
  std::uint64_t newest = 0;  // number of the newest record
};

// Measures by bisecting the records of a snapshot that has begun, in a journal of `format`, which
// is not kOther: their first-seen times never decrease. None when no time passed, or it goes back.
// `rate` is untouched on failure.
RecordFileResult FindRecentRate(Snapshot& snapshot, JournalFormat format, const RateSpan& span,
                                std::optional<RecentRate>* rate);

}  // namespace packetdb::host
