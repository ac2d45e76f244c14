// Reading a text file whose name somebody wrote down, whatever is there.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace packetdb::host {

struct TextFile {
  std::string text;
  std::string problem;   // empty: it was read. Else one line that does not name the file
  bool missing = false;  // there is nothing of that name
};

// Reads a regular file of at most `limit` bytes. Anything else is refused without waiting for it:
// a device or a pipe, a file that is larger or grows meanwhile.
TextFile ReadTextFile(const std::string& path, std::size_t limit);

struct FolderFiles {
  std::vector<std::string> paths;
  std::string problem;  // empty: the folder was read, or there is none
};

// The files of a folder whose names end in `suffix` and do not begin with a dot, sorted by the
// bytes of their names.
FolderFiles FindFiles(const std::string& folder, const std::string& suffix);

}  // namespace packetdb::host
