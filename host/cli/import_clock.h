// The clock of an import.
//
// The library measures how fresh an event is against time(2): a repeat is merged only while the
// first packet lies less than the merge window in the past. Packets of a capture lie further back
// than that, so by the calendar nothing would ever merge. An importing process therefore supplies
// its own time(): linked into the program, it comes before the C library's for every call in the
// process, the library's included. It follows the events, so that an imported capture gives the
// journal that its packets would have given live.
#pragma once

#include <cstdint>

namespace packetdb::host {

// From now on time() answers this, in Unix seconds.
void SetImportClock(std::int64_t unix_seconds);

// From now on time() answers the calendar time again, as it does before the first SetImportClock.
void ReleaseImportClock();

}  // namespace packetdb::host
