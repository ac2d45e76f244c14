// The zone of this process (TZ): what local clocks show, and when they show it.
#pragma once

#include <cstdint>

namespace packetdb::host {

// Seconds that local clocks are ahead of UTC at a moment.
std::int64_t OffsetAt(std::int64_t unix_seconds);

// Whether they are the same from the first moment to the last, and a day before and after: then
// each local time in between comes once.
bool OffsetIsSteady(std::int64_t first, std::int64_t last);

// When local clocks show this (calendar.h). Of two moments, as in the hour that comes twice when
// summer time ends, it is the first. What clocks skip, as in the hour that is missing when summer
// time begins, is the moment at which they are moved.
std::int64_t LocalMoment(std::int64_t clock_seconds);

}  // namespace packetdb::host
