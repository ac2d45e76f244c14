// The file that rescued records are put into.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/record_file/geometry.h"
#include "host/record_file/rescue_frames.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// A record in the damaged file.
struct FoundRecord {
  std::uint64_t number = 0;
  std::uint64_t offset = 0;  // of its frame
};

// Makes a closed file at `path`, where nothing must be, of the records in this order. The last
// keeps its number and those before it are numbered without gaps. `written` is how many of them
// were still whole; they are fewer only when the source was changed meanwhile. No file is made of
// none.
RecordFileResult WriteRescued(const RescueSource& source, const FrameKey& key,
                              const RecordFormat& format, const std::vector<FoundRecord>& records,
                              const std::string& path, std::uint64_t* written);

}  // namespace packetdb::host
