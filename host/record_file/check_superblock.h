// Verifying the two superblocks, number by number.
#pragma once

#include <cstdint>

#include "host/record_file/check.h"
#include "host/record_file/descriptor.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// Fails only when the file cannot be read. What is beyond the end of the file is not told of here.
RecordFileResult CheckSuperblocks(const Descriptor& file, const FindingSink& sink);

}  // namespace packetdb::host
