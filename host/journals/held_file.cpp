#include "host/journals/held_file.h"

#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <utility>

#include "host/journals/error.h"
#include "host/record_file/open.h"
#include "host/record_file/result.h"

namespace packetdb::host {

namespace {

// Without waiting: a conversion takes as long as it takes.
void TakeLock(const Descriptor& file, const std::string& journal) {
  if (flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
    return;
  }
  if (errno == EWOULDBLOCK) {
    throw JournalError(
        fmt::format("journal {} is in use: another process converts it; try again when that is "
                    "done",
                    journal),
        kInUse);
  }
  throw JournalError(fmt::format("cannot lock journal {}: {}", journal, std::strerror(errno)),
                     kSystemError);
}

struct stat StatusOf(const Descriptor& file) {
  struct stat status {};
  // Cannot fail for an open file that is not on a network.
  fstat(file.get(), &status);
  return status;
}

}  // namespace

HeldFile::HeldFile(Descriptor file, RecordFileInfo info)
    : file_(std::move(file)), info_(std::move(info)) {}

std::optional<HeldFile> HeldFile::Hold(const std::string& path, const std::string& journal) {
  Descriptor file;
  const RecordFileResult opened = OpenUnlocked(path, Access::kRead, &file);
  if (opened == kMissing) {
    return {};
  }
  if (opened < 0) {
    ThrowCannotOpen(path, opened);
  }
  TakeLock(file, journal);
  RecordFileInfo info;
  const int status = ProbeRecordFile(path, &info);
  // Whoever held it before may have moved it: then what was probed is another file.
  if (!IsFileAt(path, file)) {
    return {};
  }
  if (status < 0) {
    ThrowCannotOpen(path, status);
  }
  return HeldFile(std::move(file), std::move(info));
}

bool HeldFile::IsAt(const std::string& path) const { return IsFileAt(path, file_); }

uid_t HeldFile::owner() const { return StatusOf(file_).st_uid; }

bool HeldFile::LendAccessTo(const std::string& path) const {
  Descriptor other;
  if (OpenUnlocked(path, Access::kRead, &other) < 0) {
    return false;
  }
  const struct stat from = StatusOf(file_);
  const struct stat to = StatusOf(other);
  const bool same_owner = from.st_uid == to.st_uid && from.st_gid == to.st_gid;
  if (!same_owner && fchown(other.get(), from.st_uid, from.st_gid) != 0) {
    return false;  // nor the mode, which may let in a group that is not meant
  }
  return fchmod(other.get(), from.st_mode & 0777U) == 0;
}

}  // namespace packetdb::host
