#include "host/journals/conversion_obstacles.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "host/journals/converted.h"
#include "host/journals/error.h"
#include "host/record_file/geometry.h"
#include "host/record_file/result.h"
#include "packetdb/journal_format.h"

namespace packetdb::host {

namespace {

[[noreturn]] void CannotConvert(const std::string& path, std::string_view reason, int result) {
  throw JournalError(fmt::format("cannot convert journal {}: {}", path, reason), result);
}

std::string DirectoryOf(const std::string& path) {
  return (std::filesystem::path(path).parent_path() / ".").string();
}

void RequireWritable(const ConversionFiles& files, std::string_view what, const std::string& path,
                     int access) {
  if (faccessat(AT_FDCWD, path.c_str(), access, AT_EACCESS) != 0) {
    const RecordFileResult result = ResultFromErrno(errno);
    CannotConvert(
        files.journal,
        fmt::format("{} must be written for that: {}", what, DescribeRecordFileResult(result)),
        result);
  }
}

// The converted file would belong to this user, and its owner could write it no more.
void RequireOwner(const ConversionFiles& files, uid_t owner) {
  const uid_t user = geteuid();
  if (user != 0 && user != owner) {
    CannotConvert(files.journal, "it belongs to another user, who has to convert it, or root",
                  kNoPermission);
  }
}

}  // namespace

void RequireNoObstacle(const ConversionFiles& files, const HeldFile& old,
                       const ConversionWishes& wishes, bool complete) {
  RequireWritable(files, "its directory", DirectoryOf(files.journal), W_OK | X_OK);
  // An interrupted conversion may have left it no name but the second.
  const std::string& name = old.IsAt(files.journal) ? files.journal : files.old;
  RequireWritable(files, name, name, R_OK | W_OK);
  RequireOwner(files, old.owner());
  if (const int status = TryToOpen(name, old.info(), complete); status < 0) {
    CannotConvert(files.journal, DescribeRecordFileResult(status), status);
  }
  RequireLeftover(files.temporary, old.owner());
  RequireLeftover(files.unborn, old.owner());
  if (wishes.keep_old) {
    RequireKeepable(files, old);
  }
}

void RequireKeepable(const ConversionFiles& files, const HeldFile& old) {
  if (IsThere(files.kept) && !old.IsAt(files.kept)) {
    CannotConvert(files.journal,
                  fmt::format("the old file cannot be kept as {}: something of that name is there",
                              files.kept),
                  0);
  }
}

std::uint64_t ConvertedSize(const RecordFileInfo& old) {
  const std::uint64_t per_cell = FramesPerCell(FrameSize(kJournalRecordSize));
  const std::uint64_t records = std::max(old.records, std::uint64_t{1});
  const std::uint64_t slots = old.capacity != 0 ? SlotCount(old.capacity, per_cell)
                                                : RoundUp(records, GrowthSlots(per_cell));
  return FileLength(slots, per_cell);
}

void RequireSpace(const std::string& path, std::uint64_t bytes) {
  struct statvfs disk {};
  if (statvfs(DirectoryOf(path).c_str(), &disk) != 0) {
    const RecordFileResult result = ResultFromErrno(errno);
    CannotConvert(path, DescribeRecordFileResult(result), result);
  }
  const std::uint64_t available = std::uint64_t{disk.f_bavail} * disk.f_frsize;
  if (available < bytes) {
    CannotConvert(path, fmt::format("it takes {} bytes, and {} are available", bytes, available),
                  kNoSpace);
  }
}

}  // namespace packetdb::host
