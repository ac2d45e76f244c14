// The old file of a conversion, held so that one process at a time works on it.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

#include "host/journals/journal_format.h"
#include "host/record_file/descriptor.h"

namespace packetdb::host {

// Holds the file, whatever names it has and gets, by a flock(2) lock, which does not stand in the
// way of the library's own lock on the same file.
class HeldFile {
 public:
  // Opens and holds the file at `path`, the old one of `journal`. Nothing when the file there
  // changed meanwhile or is gone: look again. Throws JournalError when another process holds it,
  // when it is no sound record file or cannot be opened.
  static std::optional<HeldFile> Hold(const std::string& path, const std::string& journal);

  // Whether `path` itself is a name of the file.
  bool IsAt(const std::string& path) const;

  const RecordFileInfo& info() const { return info_; }
  JournalFormat format() const { return FormatOf(info_); }
  uid_t owner() const;

  // Gives the file at `path` the owner, the group and the mode that this one has. False when the
  // system refused some of it.
  bool LendAccessTo(const std::string& path) const;

 private:
  HeldFile(Descriptor file, RecordFileInfo info);

  Descriptor file_;
  RecordFileInfo info_;
};

}  // namespace packetdb::host
