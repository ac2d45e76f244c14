#include "host/record_file/medium.h"

#include <cerrno>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace packetdb::host {

Medium::Medium(Medium&& other) noexcept { *this = std::move(other); }

Medium& Medium::operator=(Medium&& other) noexcept {
  std::swap(fd_, other.fd_);
  std::swap(base_, other.base_);
  std::swap(begin_, other.begin_);
  std::swap(length_, other.length_);
  std::swap(guard_, other.guard_);
  return *this;
}

Medium::~Medium() {
  // Before the addresses are free: another thread may get them at once.
  guard_ = MappingGuard();
  if (base_ != nullptr) munmap(start(), length_);
}

RecordFileResult Medium::Open(const Descriptor& file, std::uint64_t begin, std::uint64_t length,
                              Access access, Way way) {
  Medium opened = ByCalls(file);
  if (way == Way::kMapped) {
    const RecordFileResult result = opened.Map(begin, length, access);
    if (result < 0) return result;
  }
  *this = std::move(opened);
  return kRecordFileOk;
}

Medium Medium::ByCalls(const Descriptor& file) {
  Medium opened;
  opened.fd_ = file.get();
  return opened;
}

RecordFileResult Medium::Map(std::uint64_t begin, std::uint64_t length, Access access) {
  const int protection = access == Access::kWrite ? PROT_READ | PROT_WRITE : PROT_READ;
  void* const mapped =
      mmap(nullptr, length, protection, MAP_SHARED, fd_, static_cast<off_t>(begin));
  if (mapped == MAP_FAILED) return ResultFromErrno(errno);
  begin_ = begin;
  length_ = length;
  base_ = static_cast<std::byte*>(mapped) - begin;
  guard_ = MappingGuard(mapped, length);
  return kRecordFileOk;
}

RecordFileResult Medium::Grow(std::uint64_t length) {
  if (base_ == nullptr) return kRecordFileOk;
  void* const mapped = mremap(start(), length_, length - begin_, MREMAP_MAYMOVE);
  if (mapped == MAP_FAILED) return ResultFromErrno(errno);
  length_ = length - begin_;
  base_ = static_cast<std::byte*>(mapped) - begin_;
  guard_.Move(mapped, length_);
  return kRecordFileOk;
}

RecordFileResult Medium::ReadByCall(std::uint64_t offset, void* bytes, std::uint64_t size) const {
  auto* at = static_cast<char*>(bytes);
  while (size != 0) {
    const ssize_t got = pread(fd_, at, size, static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return ResultFromErrno(errno);
    if (got == 0) return kTruncatedFile;
    at += got;
    offset += static_cast<std::uint64_t>(got);
    size -= static_cast<std::uint64_t>(got);
  }
  return kRecordFileOk;
}

// A write that stops short, as one that crosses a size limit does, is taken up where it stopped:
// then the next one tells why.
RecordFileResult Medium::WriteByCall(std::uint64_t offset, const void* bytes, std::uint64_t size) {
  const auto* at = static_cast<const char*>(bytes);
  while (size != 0) {
    const ssize_t got = pwrite(fd_, at, size, static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return ResultFromErrno(errno);
    if (got == 0) return kSystemError;
    at += got;
    offset += static_cast<std::uint64_t>(got);
    size -= static_cast<std::uint64_t>(got);
  }
  return kRecordFileOk;
}

}  // namespace packetdb::host
