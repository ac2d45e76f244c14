// The bytes of an open file, by one of two ways that mean the same.
//
// Mapped: a store is done when its instruction is, and survives the process without a system call.
// By calls: each change is one pwrite, for file systems on which a shared mapping is a bad idea.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "host/record_file/descriptor.h"
#include "host/record_file/guard.h"
#include "host/record_file/open.h"
#include "host/record_file/result.h"

namespace packetdb::host {

enum class Way { kMapped, kByCalls };

// All failures of calls are reported by the operation. Those of a mapping are not noticed by it:
// IsLost tells afterwards that the memory was not the file's, and so what was read means nothing.
class Medium {
 public:
  Medium() = default;
  Medium(Medium&& other) noexcept;
  Medium& operator=(Medium&& other) noexcept;
  Medium(const Medium&) = delete;
  Medium& operator=(const Medium&) = delete;
  ~Medium();

  // Opens `length` bytes from `begin` on, which must be there; the offsets of all other operations
  // are those of the file. `begin` is a multiple of the page size. `file` stays open as long as
  // the medium is used; `access` is how it was opened.
  RecordFileResult Open(const Descriptor& file, std::uint64_t begin, std::uint64_t length,
                        Access access, Way way);

  // All of `file`, by calls: nothing has to be there yet, and nothing can go wrong.
  static Medium ByCalls(const Descriptor& file);

  // The file is longer now, up to `length` from the beginning. Unchanged on failure.
  RecordFileResult Grow(std::uint64_t length);

  RecordFileResult Read(std::uint64_t offset, void* bytes, std::uint64_t size) const {
    if (base_ == nullptr) return ReadByCall(offset, bytes, size);
    std::memcpy(bytes, base_ + offset, size);
    return kRecordFileOk;
  }

  RecordFileResult Write(std::uint64_t offset, const void* bytes, std::uint64_t size) {
    if (base_ == nullptr) return WriteByCall(offset, bytes, size);
    std::memcpy(base_ + offset, bytes, size);
    return kRecordFileOk;
  }

  // A word at a multiple of its size; ordered after every access before and before every access
  // behind. On x86-64 the processor keeps that order by itself: stores stay in the order of the
  // program, and so do loads. What remains is to keep the compiler from changing it. A kill finds
  // the stores of all instructions that have completed.
  RecordFileResult StoreWord(std::uint64_t offset, std::uint64_t value) {
    if (base_ == nullptr) return WriteByCall(offset, &value, sizeof value);
    Fence();
    std::atomic_ref<std::uint64_t>(*Word(offset)).store(value, std::memory_order_release);
    Fence();
    return kRecordFileOk;
  }

  RecordFileResult ReadWord(std::uint64_t offset, std::uint64_t* value) const {
    if (base_ == nullptr) return ReadByCall(offset, value, sizeof *value);
    Fence();
    *value = std::atomic_ref<std::uint64_t>(*Word(offset)).load(std::memory_order_acquire);
    Fence();
    return kRecordFileOk;
  }

  // 0 when it cannot be read.
  std::uint64_t LoadWord(std::uint64_t offset) const {
    std::uint64_t value = 0;
    return ReadWord(offset, &value) == kRecordFileOk ? value : 0;
  }

  // Keeps what was written before ahead of what is written behind.
  static void Fence() { std::atomic_signal_fence(std::memory_order_seq_cst); }

  int file() const { return fd_; }
  // Null when the file is not mapped.
  const std::byte* mapped() const { return base_; }
  bool IsLost() const { return guard_.IsLost(); }

 private:
  std::uint64_t* Word(std::uint64_t offset) const {
    return reinterpret_cast<std::uint64_t*>(base_ + offset);
  }
  std::byte* start() const { return base_ + begin_; }
  RecordFileResult Map(std::uint64_t begin, std::uint64_t length, Access access);
  RecordFileResult ReadByCall(std::uint64_t offset, void* bytes, std::uint64_t size) const;
  RecordFileResult WriteByCall(std::uint64_t offset, const void* bytes, std::uint64_t size);

  int fd_ = -1;
  std::byte* base_ = nullptr;  // where the file's first byte would be
  std::uint64_t begin_ = 0;
  std::uint64_t length_ = 0;  // of the mapping
  MappingGuard guard_;
};

// Whether a file that is open on `file` had better not be mapped: its file system copies on write,
// or is not the kernel's own.
Way BestWay(const Descriptor& file);

}  // namespace packetdb::host
