// What a disk holds when the power goes: everything up to the last flush, and of what was written
// since then any sectors.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/record_file/descriptor.h"
#include "tests/faults/power/disk_log.h"
#include "tests/faults/power/file_view.h"
#include "tests/support/seed.h"

namespace packetdb::faults {

class Replay {
 public:
  // A disk that began with the bytes of the file `image`. What the events refer to outlives the
  // object.
  Replay(const std::string& image, std::vector<DiskEvent> events);

  std::uint64_t size() const { return events_.size(); }

  // A file without a name, with the disk as it may be after the first `cut` events. Calls come with
  // ascending `cut`.
  host::Descriptor ImageAfter(std::uint64_t cut, test::Random& random);

 private:
  void NoteData(const std::string& image);
  void Apply(const DiskEvent& event);
  void CopyTo(const host::Descriptor& file);

  FileView flushed_;
  const std::vector<DiskEvent> events_;
  std::uint64_t applied_ = 0;   // events that are in flushed_
  std::vector<bool> has_data_;  // by block: not all zeros, perhaps
};

}  // namespace packetdb::faults
