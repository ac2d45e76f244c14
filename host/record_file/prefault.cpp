#include "host/record_file/prefault.h"

#include <algorithm>
#include <sys/mman.h>

#include "host/record_file/create.h"
#include "host/record_file/layout.h"

namespace packetdb::host {
namespace {

// More than is written between two flushes at any rate that we know of.
constexpr std::uint64_t kAheadBytes = std::uint64_t{64} << 20U;

}  // namespace

Prefault::Prefault(const Descriptor& file, const Geometry& geometry)
    : fd_(file.get()), geometry_(geometry), done_(kCellsOffset + kZerosAtMost) {}

void Prefault::Advance(std::uint64_t next) {
  const bool is_first_lap = next - geometry_.first_sequence < geometry_.slot_count;
  if (fd_ < 0 || geometry_.capacity == 0 || !is_first_lap) return;
  const std::uint64_t at = OffsetOf(geometry_, next) / kPageSize * kPageSize;
  const std::uint64_t begin = std::max(done_, at);
  const std::uint64_t end = std::min(at + kAheadBytes, FileLength(geometry_));
  if (begin >= end) return;
  Populate(begin, end);
  done_ = end;
}

// Marks the pages as changed without changing them (madvise(2), since Linux 5.14), by a mapping of
// its own that is gone again at once.
void Prefault::Populate(std::uint64_t begin, std::uint64_t end) const {
  void* const mapped = mmap(nullptr, end - begin, PROT_READ | PROT_WRITE, MAP_SHARED, fd_,
                            static_cast<off_t>(begin));
  if (mapped == MAP_FAILED) return;
  madvise(mapped, end - begin, MADV_POPULATE_WRITE);
  munmap(mapped, end - begin);
}

}  // namespace packetdb::host
