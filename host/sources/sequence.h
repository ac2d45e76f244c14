// The numbers that a log group gives its records, from 0 and in 32 bits: what is missing between
// two of them did not fit into the kernel's buffer.
#pragma once

#include <cstdint>

namespace packetdb::host {

class SequenceTracker {
 public:
  // The number that comes next, from 1 to 2^32, which stands for 0; 0 changes nothing.
  void Expect(std::uint64_t next) {
    if (next != 0) next_ = next;
  }

  // How many records are missing before the one with this number. None where the numbering began
  // anew, which a step back tells, and an unexpected 0: a gap that ends there by chance is one of
  // four billion.
  std::uint32_t Follow(std::uint32_t number);

  // As Expect() takes it; 0: not known yet.
  std::uint64_t next() const { return next_; }

 private:
  std::uint64_t next_ = 0;
};

}  // namespace packetdb::host
