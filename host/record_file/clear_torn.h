// Emptying the slots that a writer was in the middle of when it died.
#pragma once

#include <cstdint>

#include "host/record_file/geometry.h"
#include "host/record_file/medium.h"
#include "host/record_file/recovery.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// Fills with zeros what is no record, neither one that counts nor one of an earlier lap: where
// records were being appended, and where those were that had not been flushed, from number `synced`
// on. Otherwise a later look could not tell it from damage. What was found damaged stays. Harmless
// when repeated.
RecordFileResult ClearTornSlots(Medium& medium, const Geometry& geometry,
                                const Recovered& recovered, std::uint64_t synced);

}  // namespace packetdb::host
