#include "host/journals/conversion_files.h"

#include <cerrno>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/journals/error.h"
#include "host/record_file/open.h"
#include "host/record_file/result.h"

namespace packetdb::host {

namespace {

bool Look(const std::string& path, struct stat* status) {
  if (lstat(path.c_str(), status) == 0) {
    return true;
  }
  const RecordFileResult result = ResultFromErrno(errno);
  if (result != kMissing) {
    throw JournalError(fmt::format("cannot examine {}: {}", path, DescribeRecordFileResult(result)),
                       result);
  }
  return false;
}

// What keeps it from being a leftover; empty when it may be one.
std::string_view Foreignness(const struct stat& status, uid_t owner_of_old) {
  if (S_ISLNK(status.st_mode)) {
    return "it is a symbolic link";
  }
  if (S_ISDIR(status.st_mode)) {
    return "it is a directory";
  }
  if (!S_ISREG(status.st_mode)) {
    return "it is not a regular file";
  }
  const bool ours = status.st_uid == geteuid() || (geteuid() == 0 && status.st_uid == owner_of_old);
  if (!ours) {
    return "it belongs to another user";
  }
  return status.st_nlink == 1 ? "" : "the file there has other names as well";
}

}  // namespace

ConversionFiles::ConversionFiles(const std::string& path)
    : journal(path),
      temporary(path + std::string(kTemporarySuffix)),
      unborn(temporary + ".~new"),
      old(path + std::string(kOldSuffix)),
      kept(path + ".pre-v4") {}

bool IsThere(const std::string& path) {
  struct stat status {};
  return Look(path, &status);
}

void RequireLeftover(const std::string& path, unsigned int owner_of_old) {
  struct stat status {};
  if (!Look(path, &status)) {
    return;
  }
  const std::string_view why_not = Foreignness(status, owner_of_old);
  if (!why_not.empty()) {
    throw JournalError(fmt::format("{} is in the way: {}; move it away", path, why_not));
  }
}

void RemoveLeftover(const std::string& path, unsigned int owner_of_old) {
  struct stat status {};
  if (!Look(path, &status) || !Foreignness(status, owner_of_old).empty()) {
    return;
  }
  Descriptor file;
  // The lock is what a process holds that is still writing it.
  if (OpenLocked(path, Access::kWrite, &file) == kRecordFileOk) {
    unlink(path.c_str());
  }
}

}  // namespace packetdb::host
