// Reads a sorted run of groups.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/summary/key_layout.h"
#include "host/summary/sums.h"

namespace packetdb::host {

class RunReader {
 public:
  // Of `size` bytes of a file from `offset` on: sums and a key, again and again.
  RunReader(int file, std::uint64_t offset, std::uint64_t size, std::size_t key_size);

  // Goes to the next group, first to the first; false behind the last and after a failure.
  bool Next();

  const Sums& sums() const { return sums_; }
  const KeyBytes* key() const { return buffer_.data() + at_ + sizeof(Sums); }
  int error() const { return error_; }  // errno of a failure, 0 for none

 private:
  bool Fill();

  int file_;
  std::uint64_t offset_;
  std::uint64_t left_;  // bytes that are not in the buffer yet
  std::size_t entry_size_;
  std::vector<KeyBytes> buffer_;  // whole entries
  std::size_t at_ = 0;
  bool has_begun_ = false;
  Sums sums_;
  int error_ = 0;
};

}  // namespace packetdb::host
