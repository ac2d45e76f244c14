#include "host/journals/conversion_files.h"

#include <array>
#include <cerrno>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/journals/error.h"
#include "host/record_file/layout.h"
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

// Why it is no regular file; empty when it is one.
std::string_view Irregularity(const struct stat& status) {
  if (S_ISLNK(status.st_mode)) {
    return "it is a symbolic link";
  }
  if (S_ISDIR(status.st_mode)) {
    return "it is a directory";
  }
  return S_ISREG(status.st_mode) ? "" : "it is not a regular file";
}

// A record file is zeros where its header will be until that is written.
bool MayBeRecordFile(const std::string& path) {
  Descriptor file;
  if (OpenUnlocked(path, Access::kRead, &file) != kRecordFileOk) {
    return true;  // whatever keeps us from reading it says so later
  }
  std::array<char, kSignature.size()> front{};
  const ssize_t size = pread(file.get(), front.data(), front.size(), 0);
  return size <= 0 || front == kSignature || front == std::array<char, kSignature.size()>{};
}

// What keeps it from being a leftover; empty when it may be one.
std::string_view Foreignness(const std::string& path, const struct stat& status,
                             uid_t owner_of_old) {
  if (const std::string_view irregularity = Irregularity(status); !irregularity.empty()) {
    return irregularity;
  }
  const bool ours = status.st_uid == geteuid() || (geteuid() == 0 && status.st_uid == owner_of_old);
  if (!ours) {
    return "it belongs to another user";
  }
  if (status.st_nlink != 1) {
    return "the file there has other names as well";
  }
  return MayBeRecordFile(path) ? "" : "it is not a record file";
}

void RequireOutOfTheWay(const std::string& path, std::string_view why_not) {
  if (!why_not.empty()) {
    throw JournalError(fmt::format("{} is in the way: {}; move it away", path, why_not));
  }
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

void RequireLeftover(const std::string& path, uid_t owner_of_old) {
  struct stat status {};
  if (Look(path, &status)) {
    RequireOutOfTheWay(path, Foreignness(path, status, owner_of_old));
  }
}

void RequireFile(const std::string& path) {
  struct stat status {};
  if (Look(path, &status)) {
    RequireOutOfTheWay(path, Irregularity(status));
  }
}

void RemoveLeftover(const std::string& path, uid_t owner_of_old) {
  struct stat status {};
  if (!Look(path, &status) || !Foreignness(path, status, owner_of_old).empty()) {
    return;
  }
  Descriptor file;
  // The lock is what a process holds that is still writing it.
  if (OpenLocked(path, Access::kWrite, &file) == kRecordFileOk) {
    unlink(path.c_str());
  }
}

}  // namespace packetdb::host
