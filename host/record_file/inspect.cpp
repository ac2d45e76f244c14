#include "host/record_file/inspect.h"

#include <cerrno>
#include <cstddef>
#include <sys/stat.h>
#include <unistd.h>

#include "host/record_file/layout.h"

namespace packetdb::host {
namespace {

struct Front {
  HeaderPage header;
  StateWords state;
};
static_assert(offsetof(Front, state) == kStateOffset);

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

FileFacts FactsOf(const Front& front, const Geometry& geometry, std::uint64_t length) {
  return {.format = {.magic = std::string(MagicOf(front.header)),
                     .record_size = geometry.record_size,
                     .capacity = geometry.capacity},
          .geometry = geometry,
          .layout_version = front.header.layout_version,
          .next = front.state.next,
          .redo = front.state.redo,
          .length = length};
}

}  // namespace

RecordFileResult Inspect(const Descriptor& file, FileFacts* facts) {
  Front front = {};
  std::uint64_t got = 0;
  RecordFileResult result = ReadFront(file, &front, &got);
  if (result < 0) return result;
  // After the commit word: a file grows before its commit word can pass its old end.
  struct stat status = {};
  if (fstat(file.get(), &status) != 0) return ResultFromErrno(errno);
  const auto length = static_cast<std::uint64_t>(status.st_size);
  Geometry geometry;
  result = VerifyHeader(front.header, got, length, &geometry);
  if (result < 0) return result;
  if (!IsPlausibleNext(geometry, front.state.next)) return kDamagedState;
  *facts = FactsOf(front, geometry, length);
  return kRecordFileOk;
}

}  // namespace packetdb::host
