// Times as people write and read them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace packetdb::host {

// The bus carries the times of a query in 31 bits.
inline constexpr std::int64_t kLatestQueryTime = 0x7FFFFFFF;

// Unix seconds of "2026-11-20", "2026-11-20 14:05", "2026-11-20 14:05:09" (local time, a 'T' may
// stand for the blank), the same with "Z" or "+01:00" behind it, "@1763643909", "now", or "-2h"
// (s, m, h, d before `now`). Throws UsageError for anything else and for times before 1970 or after
// 2038-01-19, which a query cannot carry.
std::int64_t ParseTime(std::string_view text, std::int64_t now);

// "2026-11-20 14:05:09" in local time.
std::string LocalTime(std::int64_t unix_seconds);

// The same of a record's time, seconds since 1980.
std::string RecordTime(std::uint32_t seconds);

// "2026-11-20T14:05:09+01:00": local time with its offset, which reads back as the same second.
std::string Rfc3339Time(std::int64_t unix_seconds);

// "2 d 3 h", "5 min 20 s": the two largest units that say something, rounded down.
std::string DurationText(std::uint64_t seconds);

}  // namespace packetdb::host
