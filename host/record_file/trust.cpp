#include "host/record_file/trust.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

#include "host/record_file/folder.h"
#include "host/record_file/open.h"

namespace packetdb::host {
namespace {

constexpr mode_t kOthersMayWrite = S_IWGRP | S_IWOTH;
constexpr uid_t kSuperuser = 0;

// The superuser also does the work of whoever owns the folder, and whatever is in a folder of its
// own: but never in a file that somebody put into another's folder.
bool MayWriteFor(uid_t owner, const std::string& path) {
  if (owner == geteuid()) return true;
  if (geteuid() != kSuperuser) return false;
  const std::string folder = FolderOf(path);
  struct stat status = {};
  return stat(folder.c_str(), &status) == 0 && (status.st_uid == owner || IsOurFolder(path));
}

bool IsSameMoment(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// Where others can make names, the path has to be the file's one name. Had it another one, it would
// have had to lose the one that we found while its names were counted, and to get it back before we
// looked for that; then the time of its last change tells. Who writes to it changes that time as
// well, so one look may not be enough.
RecordFileResult RequireNoOtherName(const std::string& path, const Descriptor& file) {
  constexpr int kLooks = 10;
  for (int look = 0; look < kLooks; ++look) {
    struct stat before = {};
    struct stat after = {};
    if (fstat(file.get(), &before) != 0) return ResultFromErrno(errno);
    if (before.st_nlink > 1) return kLinkedElsewhere;
    const bool is_named = IsFileAt(path, file);
    if (fstat(file.get(), &after) != 0) return ResultFromErrno(errno);
    if (is_named && IsSameMoment(before.st_ctim, after.st_ctim)) return kRecordFileOk;
  }
  return kUnsettled;
}

}  // namespace

RecordFileResult RequireOurs(const std::string& path, const Descriptor& file) {
  struct stat status = {};
  if (fstat(file.get(), &status) != 0) return ResultFromErrno(errno);
  if (!MayWriteFor(status.st_uid, path)) return kForeignOwner;
  if ((status.st_mode & kOthersMayWrite) != 0) return kWritableByOthers;
  return IsOurFolder(path) ? kRecordFileOk : RequireNoOtherName(path, file);
}

RecordFileResult RequireOurFolder(const std::string& path) {
  struct stat status = {};
  if (stat(FolderOf(path).c_str(), &status) != 0) return ResultFromErrno(errno);
  if (status.st_uid != geteuid() && status.st_uid != kSuperuser) return kForeignOwner;
  return (status.st_mode & kOthersMayWrite) != 0 ? kWritableByOthers : kRecordFileOk;
}

bool IsOurFolder(const std::string& path) { return RequireOurFolder(path) == kRecordFileOk; }

}  // namespace packetdb::host
