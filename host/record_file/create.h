// Making a new record file, so that its path never shows a half-made one.
#pragma once

#include <string>

#include "host/record_file/descriptor.h"
#include "host/record_file/header.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// What the path is expected to hold when the new file takes its place.
enum class Predecessor {
  kNone,    // nothing: kUnsettled when something has appeared there
  kLocked,  // a file that the caller holds the writer's lock on: it is replaced
};

// Builds a complete, empty file of mode 0640 under `path` + ".~new", with all its space allocated,
// and renames it to `path`. `file` is then open and locked for writing.
//
// On failure nothing is left behind and `path` is as before. A kill leaves `path` as before or with
// the complete new file, and perhaps the temporary file, which the next creation removes. kInUse:
// another process is creating the same file right now.
RecordFileResult CreateRecordFile(const std::string& path, const RecordFormat& format,
                                  Predecessor predecessor, Descriptor* file);

// Allocates the bytes from `offset` on; kNoSpace and its like leave the file's length unchanged.
RecordFileResult AllocateSpace(const Descriptor& file, std::uint64_t offset, std::uint64_t length);

}  // namespace packetdb::host
