#include "host/record_file/open.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

#include "host/record_file/trust.h"

namespace packetdb::host {
namespace {

// O_NONBLOCK has no meaning for a regular file; it keeps a FIFO from blocking the open.
constexpr int kOpenFlags = O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK;

RecordFileResult RequireRegular(const Descriptor& file) {
  struct stat status = {};
  if (fstat(file.get(), &status) != 0) return ResultFromErrno(errno);
  if (S_ISDIR(status.st_mode)) return kIsDirectory;
  return S_ISREG(status.st_mode) ? kRecordFileOk : kNotRegular;
}

int SetLock(const Descriptor& file, short type) {
  struct flock whole_file = {};
  whole_file.l_type = type;
  whole_file.l_whence = SEEK_SET;
  return fcntl(file.get(), F_OFD_SETLK, &whole_file);
}

}  // namespace

RecordFileResult OpenUnlocked(const std::string& path, Access access, Descriptor* file) {
  const int direction = access == Access::kWrite ? O_RDWR : O_RDONLY;
  Descriptor opened = OpenDescriptor(path, direction | kOpenFlags);
  if (!opened.IsOpen()) return ResultFromErrno(errno);
  const RecordFileResult result = RequireRegular(opened);
  if (result == kRecordFileOk) *file = std::move(opened);
  return result;
}

RecordFileResult OpenLocked(const std::string& path, Access access, Descriptor* file) {
  Descriptor opened;
  RecordFileResult result = OpenUnlocked(path, access, &opened);
  if (result < 0) return result;
  if (access == Access::kWrite) {
    result = RequireOurs(path, opened);
    if (result == kRecordFileOk) result = Lock(opened);
    if (result == kRecordFileOk && !IsFileAt(path, opened)) result = kUnsettled;
    if (result < 0) return result;
  }
  *file = std::move(opened);
  return kRecordFileOk;
}

RecordFileResult Lock(const Descriptor& file) {
  if (SetLock(file, F_WRLCK) == 0) return kRecordFileOk;
  return errno == EACCES ? kInUse : ResultFromErrno(errno);
}

void Unlock(const Descriptor& file) { SetLock(file, F_UNLCK); }

bool IsFileAt(const std::string& path, const Descriptor& file) {
  struct stat named = {};
  struct stat opened = {};
  return lstat(path.c_str(), &named) == 0 && fstat(file.get(), &opened) == 0 &&
         named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

}  // namespace packetdb::host
