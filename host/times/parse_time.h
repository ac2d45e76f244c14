// Times as people give them.
#pragma once

#include <cstdint>
#include <string_view>

#include "packetdb/storage.h"

namespace packetdb::host {

// The last second that a journal can hold.
inline constexpr std::int64_t kLastTime = std::int64_t{0xFFFFFFFF} + TIME_1980_OFFSET;

// The bus carries the times of a query in 31 bits.
inline constexpr std::int64_t kLatestQueryTime = 0x7FFFFFFF;

// Unix seconds of
// - "now", "today", "yesterday", "tomorrow": the days at midnight;
// - "-2h", "+5min", "1d 2h ago": spans (span.h) before or after `now`;
// - "@1763643909": Unix seconds;
// - "2026-11-20", "2026-11-20 14:05", "2026-11-20 14:05:09", with a blank or a 'T'; behind each may
//   stand "Z", " UTC", "+01:00" or "+0100";
// - "14:05", "14:05:09": of today.
// Days and clocks are local unless a zone is given; times that local clocks show twice or never are
// those of zone.h. Throws TimeError for anything else, and for times before 1970 and after
// kLastTime.
std::int64_t ParseTime(std::string_view text, std::int64_t now);

// The same for the times of a query: throws TimeError beyond kLatestQueryTime as well.
std::int64_t ParseQueryTime(std::string_view text, std::int64_t now);

}  // namespace packetdb::host
