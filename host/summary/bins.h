// Time in bins as clocks show it.
#pragma once

#include <cstdint>

#include "host/times/local_clock.h"

namespace packetdb::host {

// Bins of so many seconds begin when a clock shows a multiple of them, counted from a Monday at
// midnight: hours at full hours, days at midnight, weeks on Mondays. They follow each other without
// gaps. Where local clocks are moved, a bin that reaches over that is longer or shorter, and bins
// end where it cuts them.
class Bins {
 public:
  // `seconds` is at least 1.
  Bins(std::int64_t seconds, bool utc) : seconds_(seconds), utc_(utc) {}

  std::int64_t seconds() const { return seconds_; }

  // When the bin begins that a moment is in, both in Unix seconds.
  std::int64_t StartOf(std::int64_t moment);
  // When the bin begins that is behind the one that begins at `start`.
  std::int64_t NextStart(std::int64_t start);

 private:
  std::int64_t OffsetOf(std::int64_t moment) { return utc_ ? 0 : clock_.At(moment).offset; }
  std::int64_t ClockStart(std::int64_t moment);  // what clocks show when its bin begins
  std::int64_t ChangeBetween(std::int64_t before, std::int64_t after);

  std::int64_t seconds_;
  bool utc_;
  LocalClock clock_;
};

}  // namespace packetdb::host
