// What the bytes of a slot are, seen from the record that should be there.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/record_file/geometry.h"

namespace packetdb::host {

enum class SlotContent {
  kRecord,   // that record
  kNothing,  // zeros, as in a file that was just made
  kOlder,    // a record that the slot held before, some laps of the ring ago
  kNewer,    // one that it is to hold later
  kTorn,     // no record
};

// `frame` is the content of the slot of `sequence`, and does not change meanwhile.
SlotContent ContentOf(const Geometry& geometry, std::uint64_t sequence, const std::byte* frame);

}  // namespace packetdb::host
