// A look at a record file from outside, before or while somebody has it open.
#pragma once

#include <cstdint>
#include <string>

namespace packetdb::host {

struct RecordFileInfo {
  std::uint32_t layout_version = 0;
  std::uint64_t record_size = 0;  // bytes
  std::uint64_t capacity = 0;     // records kept; 0: no bound
  std::uint64_t next = 0;         // sequence number of the next append
  std::uint64_t records = 0;      // records that can be read now
  std::string magic;
};

// Reads the format of the file at `path`; takes no lock and changes nothing. Returns 0, or a code
// of host/record_file/result.h with `out` untouched. Never -6: it expects no particular format.
int ProbeRecordFile(const std::string& path, RecordFileInfo* out);

}  // namespace packetdb::host
