// Copies of disk images, most of which are holes.
#pragma once

#include <string>

#include "host/record_file/descriptor.h"

namespace packetdb::faults {

// A file without a name, in memory. Throws std::runtime_error.
host::Descriptor CopyToMemory(const std::string& image);

}  // namespace packetdb::faults
