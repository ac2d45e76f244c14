// The bytes of a record file that no record uses.
#pragma once

#include "host/record_file/check.h"
#include "host/record_file/header.h"

namespace packetdb::host {

// Checks the bytes that nobody writes, in a file whose numbers are sane, as far as the file goes:
// those between the words of the state, behind the redo record, behind the record of each used
// slot, and the slots that were never used. `next` is the commit word, read before.
RecordFileResult CheckUnusedBytes(const Descriptor& file, const Geometry& geometry,
                                  std::uint64_t next, const FindingSink& sink);

}  // namespace packetdb::host
