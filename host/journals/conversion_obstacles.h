// What would keep a journal from being converted, looked at before anything is changed.
#pragma once

#include <cstdint>

#include "host/journals/conversion_files.h"
#include "host/journals/held_file.h"

namespace packetdb::host {

struct ConversionWishes {
  bool keep_old = false;
};

// Throws JournalError with the first of: a directory or a file that cannot be written, another
// user's file, one that is damaged or in use, something in the way. With `complete` what a killed
// writer left half done in the old file is completed; nothing else is changed.
void RequireNoObstacle(const ConversionFiles& files, const HeldFile& old,
                       const ConversionWishes& wishes, bool complete);

// Throws JournalError when the old file cannot be kept because its name for that is taken.
void RequireKeepable(const ConversionFiles& files, const HeldFile& old);

// Bytes of the converted file.
std::uint64_t ConvertedSize(const RecordFileInfo& old);

// Throws JournalError when the file system that `path` is on has less than that to give.
void RequireSpace(const std::string& path, std::uint64_t bytes);

}  // namespace packetdb::host
