// What an open file is, read and verified before anything of it is used.
#pragma once

#include <cstdint>

#include "host/record_file/descriptor.h"
#include "host/record_file/header.h"
#include "host/record_file/result.h"

namespace packetdb::host {

struct FileFacts {
  RecordFormat format;
  Geometry geometry;
  std::uint32_t layout_version = 0;
  std::uint64_t next = 0;  // plausible for the geometry
  std::uint64_t redo = 0;  // only meaningful while no writer can be at work: not verified
  std::uint64_t length = 0;
};

// Reads header and state of `file` without using a lock: a writer may be at work. `facts` is
// untouched on failure.
RecordFileResult Inspect(const Descriptor& file, FileFacts* facts);

}  // namespace packetdb::host
