// Room on the disk for what a copy of a file has left out.
#pragma once

#include <cstdint>

#include "host/record_file/descriptor.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// Allocates what the file, of `length` bytes, has no space for: some ways to copy a file leave out
// what is zeros, or was never written. Costs a look where nothing is missing. kNoSpace when there
// is none, in which case the file is as it was; a file system that cannot tell or allocate is no
// failure.
RecordFileResult FillHoles(const Descriptor& file, std::uint64_t length);

}  // namespace packetdb::host
