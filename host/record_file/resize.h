// A file that keeps another number of records, made of one that exists.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "host/record_file/descriptor.h"
#include "host/record_file/geometry.h"
#include "host/record_file/layout.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// What the new file takes over from the old one.
struct Inheritance {
  std::uint64_t next = 0;            // its sequence numbers go on where those of the old one end
  std::uint64_t count = 0;           // of records, the newest ones
  StatePage state = {};              // counters
  const Descriptor* file = nullptr;  // whose owner, group and mode the new one gets
  // Copies record i of `count`, oldest first, or tells why it cannot.
  std::function<RecordFileResult(std::uint64_t i, void* record)> read;
};

// Builds the new file beside the one at `path`, which the caller has locked, and puts it into its
// place. `format` has a bound, and room for what is taken over. A kill leaves the old or the new
// one. On failure, as when there is no room for both, the old one stays, unless `file` is open:
// then the new one is in its place, and a power cut may undo that.
RecordFileResult BuildResized(const std::string& path, const RecordFormat& format,
                              const Inheritance& from, Descriptor* file);

}  // namespace packetdb::host
