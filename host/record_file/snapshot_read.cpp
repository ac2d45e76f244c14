#include "host/record_file/snapshot_read.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace packetdb::host {

RecordFileResult ReadUpTo(const Descriptor& file, std::uint64_t offset, void* bytes,
                          std::uint64_t size, std::uint64_t* got) {
  *got = 0;
  std::uint64_t total = 0;
  while (total < size) {
    const ssize_t count = pread(file.get(), static_cast<char*>(bytes) + total, size - total,
                                static_cast<off_t>(offset + total));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return ResultFromErrno(errno);
    if (count == 0) break;
    total += static_cast<std::uint64_t>(count);
  }
  *got = total;
  return kRecordFileOk;
}

RecordFileResult ReadExactly(const Descriptor& file, std::uint64_t offset, void* bytes,
                             std::uint64_t size) {
  std::uint64_t got = 0;
  const RecordFileResult result = ReadUpTo(file, offset, bytes, size, &got);
  if (result < 0) return result;
  return got == size ? kRecordFileOk : kTruncatedFile;
}

RecordFileResult ReadState(const Descriptor& file, StateWords* state) {
  return ReadExactly(file, kStateOffset, state, sizeof *state);
}

RecordFileResult ReadLength(const Descriptor& file, std::uint64_t* length) {
  struct stat status = {};
  if (fstat(file.get(), &status) != 0) return ResultFromErrno(errno);
  *length = static_cast<std::uint64_t>(status.st_size);
  return kRecordFileOk;
}

}  // namespace packetdb::host
