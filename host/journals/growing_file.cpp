#include "host/journals/growing_file.h"

#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "host/journals/error.h"
#include "host/journals/system_call.h"
#include "host/record_file/result.h"
#include "host/record_file/trust.h"

namespace packetdb::host {

GrowingFile::GrowingFile(std::string path)
    : path_(std::move(path)), file_(OpenSmallFile(path_, O_RDWR)) {
  struct stat status {};
  if (!file_.IsOpen()) {
    ThrowSystemError("open", path_, errno);
  }
  if (fstat(file_.get(), &status) != 0) {
    ThrowSystemError("examine", path_, errno);
  }
  if (!S_ISREG(status.st_mode)) {
    throw JournalError(fmt::format("cannot write {}: not a regular file", path_));
  }
  if (const RecordFileResult result = RequireOurs(path_, file_); result < 0) {
    throw JournalError(fmt::format("cannot write {}: {}", path_, DescribeRecordFileResult(result)));
  }
}

bool GrowingFile::Lock() {
  if (Uninterrupted([&] { return flock(file_.get(), LOCK_EX | LOCK_NB); }) == 0) {
    return true;
  }
  if (errno != EWOULDBLOCK) {
    ThrowSystemError("lock", path_, errno);
  }
  return false;
}

std::string GrowingFile::Read(std::size_t limit) const { return ReadOpenFile(file_, limit, path_); }

void GrowingFile::WriteTail(std::size_t offset, std::string_view text) {
  struct stat status {};
  if (fstat(file_.get(), &status) != 0) {
    ThrowSystemError("examine", path_, errno);
  }
  if (status.st_nlink == 0) {
    throw JournalError(
        fmt::format("cannot write {}: it was removed or replaced while it was in use", path_));
  }
  if (Uninterrupted([&] { return ftruncate(file_.get(), static_cast<off_t>(offset)); }) != 0) {
    ThrowSystemError("write", path_, errno);
  }
  WriteOpenFile(file_, text, offset, path_);
  if (FlushData(file_) != 0) {
    ThrowSystemError("sync", path_, errno);
  }
}

}  // namespace packetdb::host
