// Whether the records of a journal say what a journal can say.
#pragma once

#include <cstdint>

#include "host/journals/journal_format.h"
#include "host/record_file/check.h"
#include "host/record_file/snapshot.h"

namespace packetdb::host {

inline constexpr std::string_view kFindCount = "count";
inline constexpr std::string_view kFindCountCopy = "count_copy";
inline constexpr std::string_view kFindReservedField = "reserved_field";  // of a record
inline constexpr std::string_view kFindTimes = "times";
inline constexpr std::string_view kFindOrder = "order";

struct RecordsChecked {
  std::uint64_t whole = 0;    // records that were read and checked
  std::uint64_t gone = 0;     // overwritten by newer ones before they could be read
  std::uint64_t missing = 0;  // beyond the end of a file that is too short
  std::uint64_t damaged = 0;  // not whole
  std::uint64_t lost = 0;     // never flushed before the machine stopped
};

// Checks every record of a snapshot that has begun, in a journal of `format`, which is not kOther.
// Positions are those of the fields. Records that are not there or not whole are counted, and told
// of by CheckRecordFile. `checked` counts up to the failure, if there is one.
RecordFileResult CheckRecords(Snapshot& snapshot, JournalFormat format, const FindingSink& sink,
                              RecordsChecked* checked);

}  // namespace packetdb::host
