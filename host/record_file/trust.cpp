#include "host/record_file/trust.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

#include "host/record_file/folder.h"

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

}  // namespace

RecordFileResult RequireOurs(const std::string& path, const Descriptor& file) {
  struct stat status = {};
  if (fstat(file.get(), &status) != 0) return ResultFromErrno(errno);
  if (!MayWriteFor(status.st_uid, path)) return kForeignOwner;
  if ((status.st_mode & kOthersMayWrite) != 0) return kWritableByOthers;
  return status.st_nlink > 1 && !IsOurFolder(path) ? kLinkedElsewhere : kRecordFileOk;
}

RecordFileResult RequireOurFolder(const std::string& path) {
  struct stat status = {};
  if (stat(FolderOf(path).c_str(), &status) != 0) return ResultFromErrno(errno);
  if (status.st_uid != geteuid() && status.st_uid != kSuperuser) return kForeignOwner;
  return (status.st_mode & kOthersMayWrite) != 0 ? kWritableByOthers : kRecordFileOk;
}

bool IsOurFolder(const std::string& path) { return RequireOurFolder(path) == kRecordFileOk; }

}  // namespace packetdb::host
