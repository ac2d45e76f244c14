// Reading bytes of a file that others may be changing: each call sees what is there at that moment.
#pragma once

#include <cstdint>

#include "host/record_file/descriptor.h"
#include "host/record_file/layout.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// Reads up to `size` bytes from `offset` on. `got` is less than `size` only where the file ends,
// and 0 on failure.
RecordFileResult ReadUpTo(const Descriptor& file, std::uint64_t offset, void* bytes,
                          std::uint64_t size, std::uint64_t* got);

// Reads exactly `size` bytes; kTruncatedFile when the file ends before them.
RecordFileResult ReadExactly(const Descriptor& file, std::uint64_t offset, void* bytes,
                             std::uint64_t size);

// The state words as they are now.
RecordFileResult ReadState(const Descriptor& file, StateWords* state);

// The file's length in bytes.
RecordFileResult ReadLength(const Descriptor& file, std::uint64_t* length);

}  // namespace packetdb::host
