#include "host/record_file/trust.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

#include "host/record_file/folder.h"

namespace packetdb::host {
namespace {

constexpr mode_t kOthersMayWrite = S_IWGRP | S_IWOTH;
constexpr uid_t kSuperuser = 0;

// The superuser also does the work of whoever owns the folder: but never in a file that was put
// there and belongs to somebody else.
bool MayWriteFor(uid_t owner, const std::string& path) {
  if (owner == geteuid()) return true;
  struct stat folder = {};
  return geteuid() == kSuperuser && stat(FolderOf(path).c_str(), &folder) == 0 &&
         folder.st_uid == owner;
}

}  // namespace

RecordFileResult RequireOurs(const std::string& path, const Descriptor& file) {
  struct stat status = {};
  if (fstat(file.get(), &status) != 0) return ResultFromErrno(errno);
  if (!MayWriteFor(status.st_uid, path)) return kForeignOwner;
  if ((status.st_mode & kOthersMayWrite) != 0) return kWritableByOthers;
  return status.st_nlink > 1 && !IsOurFolder(path) ? kLinkedElsewhere : kRecordFileOk;
}

bool IsOurFolder(const std::string& path) {
  struct stat status = {};
  if (stat(FolderOf(path).c_str(), &status) != 0) return false;
  const bool is_ours = status.st_uid == geteuid() || status.st_uid == kSuperuser;
  return is_ours && (status.st_mode & kOthersMayWrite) == 0;
}

}  // namespace packetdb::host
