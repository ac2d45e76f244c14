// Files as text: a line for each run of 32 bytes that are not all zeros, "offset  bytes", both in
// hexadecimal, and at the end the length.
#pragma once

#include <string>

#include "tests/faults/integrity/patched_file.h"

namespace packetdb::faults {

std::string TextOf(const Bytes& bytes);

// Throws std::runtime_error for what is no such text.
Bytes BytesOf(const std::string& text);

}  // namespace packetdb::faults
