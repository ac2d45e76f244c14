// A whole file in memory.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/record_file/descriptor.h"
#include "host/record_file/open.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// A mapping lives until it is replaced or destroyed, independently of the descriptor.
class Mapping {
 public:
  Mapping() = default;
  Mapping(Mapping&& other) noexcept;
  Mapping& operator=(Mapping&& other) noexcept;
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;
  ~Mapping();

  // Maps `length` bytes, which must be there: for kWrite every store goes to the file, for kRead
  // the memory can only be read.
  RecordFileResult Map(const Descriptor& file, std::uint64_t length, Access access);

  // Makes a writer's mapping longer; the memory may move. Unchanged on failure.
  RecordFileResult Grow(std::uint64_t length);

  // Lets a reader change bytes of its own copy. The file never sees them.
  RecordFileResult AllowPrivateChanges(std::uint64_t offset, std::uint64_t length);

  std::byte* data() const { return data_; }
  std::uint64_t length() const { return length_; }

 private:
  std::byte* data_ = nullptr;
  std::uint64_t length_ = 0;
};

}  // namespace packetdb::host
