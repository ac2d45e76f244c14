// The clock figures of the timing lines.
#pragma once

namespace packetdb {

struct ClockFigures {
  int hours;
  int minutes;
  int seconds;
};

// Deliberately no calendar: the hours count from 1970, and 60, not 3600, seconds are taken off for
// each of them, so that only the seconds are those of a clock. The figures of these lines are part
// of the library's contract.
inline ClockFigures ToClockFigures(long unix_seconds) {
  const long hours = unix_seconds / 3600;
  const long minutes = (unix_seconds - 60 * hours) / 60;
  const long seconds = unix_seconds - 60 * hours - 60 * minutes;
  return {static_cast<int>(hours), static_cast<int>(minutes), static_cast<int>(seconds)};
}

}  // namespace packetdb
