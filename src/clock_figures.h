// The clock figures of the timing lines.
#pragma once

namespace packetdb {

struct ClockFigures {
  int hours;
  int minutes;
  int seconds;
};

// Deliberately no calendar: the hours count from 1970, and 60, not 3600, of them are taken off for
// the minutes, so that only the seconds are those of a clock. Readers of the log subtract these
// lines from one another; the figures are kept for them. 32-bit arithmetic.
inline ClockFigures ToClockFigures(long unix_seconds) {
  const int total = static_cast<int>(unix_seconds);
  const int hours = total / 3600;
  const int minutes = (total - 60 * hours) / 60;
  return {hours, minutes, total - 60 * hours - 60 * minutes};
}

}  // namespace packetdb
