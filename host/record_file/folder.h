// The folder that a file's name stands in.
#pragma once

#include <string>

#include "host/record_file/result.h"

namespace packetdb::host {

// "." for a path without a slash.
std::string FolderOf(const std::string& path);

// Makes names that were given or taken away in the folder of `path` survive a power cut. A file
// system that has nothing to do for that is no failure.
RecordFileResult FlushFolderOf(const std::string& path);

}  // namespace packetdb::host
