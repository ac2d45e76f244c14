#include "host/record_file/mapping.h"

#include <cerrno>
#include <sys/mman.h>
#include <utility>

#include "host/record_file/layout.h"

namespace packetdb::host {

Mapping::Mapping(Mapping&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), length_(std::exchange(other.length_, 0)) {}

Mapping& Mapping::operator=(Mapping&& other) noexcept {
  std::swap(data_, other.data_);
  std::swap(length_, other.length_);
  return *this;
}

Mapping::~Mapping() {
  if (data_ != nullptr) munmap(data_, length_);
}

RecordFileResult Mapping::Map(const Descriptor& file, std::uint64_t length, Access access) {
  const bool writes = access == Access::kWrite;
  // A reader's mapping is private, so that a redo can be applied to its copy alone.
  void* mapped = mmap(nullptr, length, writes ? PROT_READ | PROT_WRITE : PROT_READ,
                      writes ? MAP_SHARED : MAP_PRIVATE, file.get(), 0);
  if (mapped == MAP_FAILED) return ResultFromErrno(errno);
  Mapping fresh;
  fresh.data_ = static_cast<std::byte*>(mapped);
  fresh.length_ = length;
  *this = std::move(fresh);
  return kRecordFileOk;
}

RecordFileResult Mapping::Grow(std::uint64_t length) {
  void* mapped = mremap(data_, length_, length, MREMAP_MAYMOVE);
  if (mapped == MAP_FAILED) return ResultFromErrno(errno);
  data_ = static_cast<std::byte*>(mapped);
  length_ = length;
  return kRecordFileOk;
}

RecordFileResult Mapping::AllowPrivateChanges(std::uint64_t offset, std::uint64_t length) {
  const std::uint64_t start = offset / kPageSize * kPageSize;
  const int done = mprotect(data_ + start, offset + length - start, PROT_READ | PROT_WRITE);
  return done == 0 ? kRecordFileOk : ResultFromErrno(errno);
}

}  // namespace packetdb::host
