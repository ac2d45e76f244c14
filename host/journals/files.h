// Reading and writing small files so that they are there whole, or not at all.
#pragma once

#include <string>
#include <string_view>

namespace packetdb::host {

// All throw JournalError with the path and the system's reason.

// The contents of the regular file at `path`, which must not be a symbolic link nor larger than
// `limit` bytes. False when nothing is there.
bool ReadSmallFile(const std::string& path, std::size_t limit, std::string* text);

// Puts a new file into place, on disk with its name before this returns. What is there already,
// even since a moment ago, stays as it is.
void CreateSmallFile(const std::string& path, std::string_view text);

// Waits until what the file at `path` holds is on disk, whoever wrote it.
void SyncFile(const std::string& path);

// Waits until the names in the directory of `path` are on disk as they are now.
void SyncDirectoryOf(const std::string& path);

}  // namespace packetdb::host
