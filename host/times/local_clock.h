// Local time, many times over: what the zone said is kept.
#pragma once

#include <cstdint>
#include <unordered_map>

namespace packetdb::host {

struct LocalReading {
  std::int64_t offset = 0;  // seconds that local clocks are ahead of UTC
  bool is_plain = true;     // whether what they show, read as local time, is this moment again
};

// Of the zone that the process has at its first use.
class LocalClock {
 public:
  LocalReading At(std::int64_t unix_seconds);

 private:
  LocalReading InUnsteadyDay(std::int64_t unix_seconds);

  struct Day {
    bool is_steady = false;
    std::int64_t offset = 0;
  };
  std::unordered_map<std::int64_t, Day> days_;              // by day since 1970 in UTC
  std::unordered_map<std::int64_t, LocalReading> minutes_;  // of days with changes, those alike
};

}  // namespace packetdb::host
