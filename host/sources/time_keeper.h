// Keeps the times of one journal from going back. The search in a journal needs first-seen times
// that never decrease, and an event that is older than the one it repeats makes the library forget
// all the repeats that it watches for.
#pragma once

#include <cstdint>

#include "packetdb/storage.h"

namespace packetdb::host {

// Times are seconds since 1980, as in the event.
class TimeKeeper {
 public:
  // Moves the event's times up to the newest seen so far, where they are older. True, and counted,
  // when that changed anything.
  bool Keep(packetdb::CDrvErrorItemV4& item);

  // No event shall be older than this, say the newest record that a journal holds already. A floor
  // below the newest seen changes nothing.
  void RaiseFloor(std::uint32_t floor);

  std::uint32_t newest() const { return newest_; }
  std::uint64_t adjusted() const { return adjusted_; }

 private:
  std::uint32_t newest_ = 0;
  std::uint64_t adjusted_ = 0;
};

}  // namespace packetdb::host
