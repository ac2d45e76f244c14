// What is known of a group besides its records: the merge window and the interfaces ever seen.
//
// A small text file beside the journal, a line each:
//
//   packetdb-group 1
//   window 60
//   interface lan0
//
// It is created whole and only ever grows. An interface is on disk before its first event is
// journaled, so that a name once seen stays known. A last line without its end is one that was
// being written when the machine stopped, and does not count.
#pragma once

#include <set>
#include <string>

#include "host/journals/growing_file.h"

namespace packetdb::host {

class Catalogue {
 public:
  // Reads the catalogue at `path`. Throws JournalError with file and line.
  static Catalogue Load(const std::string& path);

  // Loads the catalogue at `path`, after creating it with `window` when it is missing. Only the
  // holder of the journal's lock may add interfaces to what it then loads.
  static Catalogue LoadOrCreate(const std::string& path, long window);

  // Opens the file for adding and keeps it open, so that Add opens nothing any more. Throws
  // JournalError.
  void KeepOpen();

  // Adds an interface and waits until it is on disk; one that is known already costs nothing.
  // Throws JournalError, also when the file would become larger than Load reads: an interface too
  // many must not cost the journal.
  void Add(const std::string& interface);

  long window() const { return window_; }  // seconds
  const std::set<std::string>& interfaces() const { return interfaces_; }

 private:
  explicit Catalogue(std::string path) : path_(std::move(path)) {}
  void Parse(const std::string& text);
  void ParseLine(const std::string& line, int number);

  std::string path_;
  long window_ = 0;
  std::set<std::string> interfaces_;
  std::size_t whole_bytes_ = 0;  // up to the end of the last whole line
  GrowingFile file_;             // closed until it is kept open
};

}  // namespace packetdb::host
