#include "host/record_file/fill_holes.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace packetdb::host {

RecordFileResult FillHoles(const Descriptor& file, std::uint64_t length) {
  constexpr std::uint64_t kBlock = 512;  // whatever the file system's are (stat(2))
  struct stat status = {};
  if (fstat(file.get(), &status) != 0) return ResultFromErrno(errno);
  if (static_cast<std::uint64_t>(status.st_blocks) * kBlock >= length) return kRecordFileOk;
  int error = EINTR;
  while (error == EINTR) error = posix_fallocate(file.get(), 0, static_cast<off_t>(length));
  return error == ENOSPC || error == EDQUOT ? kNoSpace : kRecordFileOk;
}

}  // namespace packetdb::host
