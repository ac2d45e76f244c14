// Looking at a file by the means that packetdb has, and judging what they show.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/record_file/result.h"
#include "tests/faults/integrity/history.h"

namespace packetdb::faults {

// What the users of a file got to see.
struct Reading {
  int result = 0;                      // of opening it
  std::uint64_t served = 0;            // live records, each in its last version and in order
  std::uint64_t older = 0;             // the same of records that are not live any more
  std::uint64_t wrong = 0;             // anything else that was handed out as a record
  std::uint64_t refused = 0;           // positions that have no record though the file was opened
  std::vector<std::uint64_t> missing;  // live records that were not served

  bool IsComplete() const { return result == 0 && wrong == 0 && missing.empty(); }
};

// Opens the file with these bits of the mode and reads every record that it shows.
Reading ReadAll(const std::string& path, const History& history, int mode = 0);

// The same with the class that the caller opened, and leaves it open.
Reading ReadOpen(CDbFile& file, const History& history);

struct Examined {
  host::RecordFileResult result = host::kRecordFileOk;
  std::uint64_t damage = 0;
  std::uint64_t warnings = 0;
  std::string first;  // the text of the first of both

  bool IsClean() const { return result == 0 && damage == 0 && warnings == 0; }
};

Examined Examine(const std::string& path);

}  // namespace packetdb::faults
