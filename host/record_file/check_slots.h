// The bytes of a record file that no record uses.
#pragma once

#include "host/record_file/check.h"
#include "host/record_file/header.h"

namespace packetdb::host {

// Checks the bytes of the state that nobody writes, in a file whose numbers are sane, as far as the
// file goes: those between its words and behind the redo record.
RecordFileResult CheckStatePadding(const Descriptor& file, const Geometry& geometry,
                                   const FindingSink& sink);

// The same among the slots: behind the record of each used slot, and the slots that were never
// used. `next` is the commit word, plausible and read before.
RecordFileResult CheckSlots(const Descriptor& file, const Geometry& geometry, std::uint64_t next,
                            const FindingSink& sink);

}  // namespace packetdb::host
