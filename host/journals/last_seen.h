// What format 3 did not keep, and what stands in for it.
#pragma once

#include <string>

namespace packetdb::host {

// Gives each record of the converted journal at `path` that has no last-seen time its first-seen
// time as one: queries compare both, so that without one they would not find it. Doing so again
// does no harm. Waits for readers that look in for a moment. Throws JournalError; some records may
// have theirs then.
void FillLastSeen(const std::string& path);

}  // namespace packetdb::host
