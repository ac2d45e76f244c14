#include "host/record_file/inspect.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/record_file/superblock.h"

namespace packetdb::host {
namespace {

struct Front {
  Superblock a;
  Superblock b;
  StatePage state;
};
static_assert(offsetof(Front, b) == kSuperblockBOffset && offsetof(Front, state) == kStateOffset);

// Reads as much of the front as the file has.
RecordFileResult ReadFront(const Descriptor& file, Front* front, std::uint64_t* got) {
  auto* const bytes = reinterpret_cast<char*>(front);
  std::uint64_t total = 0;
  while (total < sizeof *front) {
    const ssize_t count =
        pread(file.get(), bytes + total, sizeof *front - total, static_cast<off_t>(total));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return ResultFromErrno(errno);
    if (count == 0) break;
    total += static_cast<std::uint64_t>(count);
  }
  *got = total;
  return kRecordFileOk;
}

// How much of a page that begins at `offset` is within the first `got` bytes.
std::uint64_t GotOf(std::uint64_t got, std::uint64_t offset) {
  return got < offset ? 0 : std::min(got - offset, kPageSize);
}

// The intact one of the two; else what is wrong with the first, unless that is so far gone that the
// second tells more. Two intact ones that differ are not of one file: nobody can tell which of them
// goes with the records.
RecordFileResult Choose(const Front& front, std::uint64_t got, const Superblock** chosen) {
  const RecordFileResult first = VerifySuperblock(front.a, got);
  const RecordFileResult second = VerifySuperblock(front.b, GotOf(got, kSuperblockBOffset));
  *chosen = &front.a;
  if (first == kRecordFileOk) {
    const bool differ = std::memcmp(&front.a, &front.b, sizeof front.a) != 0;
    return second == kRecordFileOk && differ ? kAbsurdHeader : first;
  }
  if (second == kRecordFileOk) {
    *chosen = &front.b;
    return second;
  }
  const bool tells_more = first == kNotARecordFile && second == kDamagedHeader;
  return tells_more ? second : first;
}

enum class Length { kExact, kAny };

RecordFileResult Fit(const Superblock& block, std::uint64_t length, Length demand,
                     Geometry* geometry) {
  const RecordFileResult result = FitToLength(block, length, geometry);
  const bool is_tolerated =
      demand == Length::kAny && (result == kTruncatedFile || result == kOverlongFile);
  if (!is_tolerated) return result;
  return FitToLength(block, std::max(block.file_length, kCellsOffset), geometry);
}

RecordFileResult InspectWith(const Descriptor& file, Length demand, FileFacts* facts) {
  Front front = {};
  std::uint64_t got = 0;
  RecordFileResult result = ReadFront(file, &front, &got);
  if (result < 0) return result;
  // After the commit word: a file grows before its commit word can pass its old end.
  struct stat status = {};
  if (fstat(file.get(), &status) != 0) return ResultFromErrno(errno);
  const Superblock* block = nullptr;
  result = Choose(front, got, &block);
  if (result < 0) return result;
  const auto length = static_cast<std::uint64_t>(status.st_size);
  Geometry geometry;
  result = Fit(*block, length, demand, &geometry);
  if (result < 0) return result;
  *facts = {.format = FormatOf(*block),
            .geometry = geometry,
            .layout_version = block->layout_version,
            .length = length,
            .has_both_superblocks = std::memcmp(&front.a, &front.b, sizeof front.a) == 0,
            .superblock = *block,
            .state = front.state};
  return kRecordFileOk;
}

}  // namespace

RecordFileResult Inspect(const Descriptor& file, FileFacts* facts) {
  return InspectWith(file, Length::kExact, facts);
}

RecordFileResult InspectDespiteLength(const Descriptor& file, FileFacts* facts) {
  return InspectWith(file, Length::kAny, facts);
}

RecordFileResult FindWriter(const Descriptor& file, bool* writer) {
  struct flock whole_file = {};
  whole_file.l_type = F_RDLCK;
  whole_file.l_whence = SEEK_SET;
  if (fcntl(file.get(), F_OFD_GETLK, &whole_file) != 0) return ResultFromErrno(errno);
  *writer = whole_file.l_type == F_WRLCK;
  return kRecordFileOk;
}

}  // namespace packetdb::host
