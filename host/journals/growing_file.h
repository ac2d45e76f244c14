// A small file that only ever grows at its end, for writers that may not open files any more.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/record_file/descriptor.h"

namespace packetdb::host {

// All throw JournalError with the path and the system's reason.
class GrowingFile {
 public:
  GrowingFile() = default;  // closed
  // Opens the regular file at `path`, which must not be a symbolic link, nor a file that somebody
  // else can have put there or can change (host/record_file/trust.h), and keeps it open.
  explicit GrowingFile(std::string path);

  bool IsOpen() const { return file_.IsOpen(); }
  const std::string& path() const { return path_; }

  // Takes the file for this process alone until it is closed, by a flock(2) lock. False when
  // another process has it.
  bool Lock();

  // What the file holds. More than `limit` bytes are an error.
  std::string Read(std::size_t limit) const;

  // Writes `text` at `offset` and cuts off what was behind; on disk before this returns. A file
  // that has lost its name since it was opened is an error too: nobody would find the text there.
  void WriteTail(std::size_t offset, std::string_view text);

 private:
  std::string path_;
  Descriptor file_;
};

}  // namespace packetdb::host
