// Times as text. Each reads back as the same second, see parse_time.h.
#pragma once

#include <cstdint>
#include <string>

#include "host/times/local_clock.h"

namespace packetdb::host {

// "2026-11-20 14:05:09" in local time. Where that would read back as another second, because clocks
// show it twice, the second one has its offset: "2026-10-25 02:30:00+01:00".
std::string LocalTime(std::int64_t unix_seconds);

// "2026-11-20 14:05:09Z".
std::string UtcTime(std::int64_t unix_seconds);

// LocalTime of a record's time, seconds since 1980.
std::string RecordTime(std::uint32_t seconds);

// "2026-11-20T14:05:09+01:00": local time with its offset.
std::string Rfc3339Time(std::int64_t unix_seconds);

// "2 d 3 h", "5 min 20 s": the two largest units that say something, rounded down.
std::string DurationText(std::uint64_t seconds);

// The same for many: faster, as it keeps what it learns of the zone.
class TimeWriter {
 public:
  // In UTC both forms end with "Z".
  explicit TimeWriter(bool utc) : utc_(utc) {}

  void Append(std::int64_t unix_seconds, std::string* text);         // "2026-11-20 14:05:09"
  void AppendRfc3339(std::int64_t unix_seconds, std::string* text);  // with 'T' and an offset

 private:
  bool utc_;
  LocalClock clock_;
};

}  // namespace packetdb::host
