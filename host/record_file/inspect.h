// What an open file is, read and verified before anything of it is used.
#pragma once

#include <cstdint>

#include "host/record_file/descriptor.h"
#include "host/record_file/geometry.h"
#include "host/record_file/layout.h"
#include "host/record_file/result.h"

namespace packetdb::host {

struct FileFacts {
  RecordFormat format;
  Geometry geometry;
  std::uint32_t layout_version = 0;
  std::uint64_t length = 0;
  // Both are there and equal. Otherwise `superblock` is the intact one, and the other is damaged.
  bool has_both_superblocks = false;
  Superblock superblock = {};
  StatePage state = {};  // as it was at some moment: nothing in it has been checked
};

// Reads superblocks and state of `file` without using a lock: a writer may be at work. `facts` is
// untouched on failure.
RecordFileResult Inspect(const Descriptor& file, FileFacts* facts);

// The same for a file that is longer or shorter than its superblock says; the geometry is that of
// the whole file, so that some of it may be missing.
RecordFileResult InspectDespiteLength(const Descriptor& file, FileFacts* facts);

// Tells whether somebody has the file open for writing, without taking that place. `writer` is
// untouched on failure.
RecordFileResult FindWriter(const Descriptor& file, bool* writer);

}  // namespace packetdb::host
