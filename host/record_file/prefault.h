// Giving a large file its pages before the writer gets to them.
#pragma once

#include <cstdint>

#include "host/record_file/descriptor.h"
#include "host/record_file/geometry.h"

namespace packetdb::host {

// A new file is filled with zeros only as far as WriteZeros goes. Beyond, the first store into each
// page would make the file system look for its place in the middle of an append. Whoever flushes
// runs ahead of the writer instead, through the first lap of the ring. The pages' bytes are not
// changed, so that it does not matter who gets there first. All of it is best effort.
class Prefault {
 public:
  Prefault() = default;
  // `file` is open for writing and stays open as long as this is used.
  Prefault(const Descriptor& file, const Geometry& geometry);

  // `next` is the number of the next append: makes ready what lies ahead of it.
  void Advance(std::uint64_t next);

 private:
  void Populate(std::uint64_t begin, std::uint64_t end) const;

  int fd_ = -1;
  Geometry geometry_;
  std::uint64_t done_ = 0;  // bytes of the file
};

}  // namespace packetdb::host
