#include "host/record_file/create.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "host/record_file/folder.h"
#include "host/record_file/medium.h"
#include "host/record_file/open.h"
#include "host/record_file/state.h"
#include "host/record_file/superblock.h"

namespace packetdb::host {
namespace {

constexpr mode_t kFileMode = 0640;  // the writer writes, readers share its group

// Nobody of ours leaves such a thing under the temporary name, so there is no lock to wait for.
bool CannotBeACreation(RecordFileResult why_not_opened) {
  return why_not_opened == kIsSymlink || why_not_opened == kNotRegular ||
         why_not_opened == kNoPermission || why_not_opened == kForeignOwner ||
         why_not_opened == kWritableByOthers || why_not_opened == kLinkedElsewhere;
}

// Removes what a killed creation left under the temporary name `path`.
RecordFileResult RemoveTemporary(const std::string& path) {
  Descriptor leftover;
  const RecordFileResult result = OpenLocked(path, Access::kWrite, &leftover);
  if (result == kMissing) return kRecordFileOk;
  if (result < 0 && !CannotBeACreation(result)) return result;
  return unlink(path.c_str()) == 0 ? kRecordFileOk : ResultFromErrno(errno);
}

// Only an empty file can be told to be written in place. Elsewhere there is nothing to tell.
void AvoidCopyOnWrite(const Descriptor& file) {
  int flags = 0;
  if (BestWay(file) != Way::kByCalls || ioctl(file.get(), FS_IOC_GETFLAGS, &flags) != 0) return;
  flags |= FS_NOCOW_FL;
  ioctl(file.get(), FS_IOC_SETFLAGS, &flags);
}

}  // namespace

Creation::~Creation() { Remove(); }

RecordFileResult Creation::Begin(const RecordFormat& format, std::uint64_t first_sequence) {
  RecordFileResult result = Open();
  if (result < 0) return result;
  result = Fill(format, first_sequence);
  if (result < 0) Remove();
  return result;
}

// What has the temporary name may be another process's by now.
void Creation::Remove() {
  if (file_.IsOpen() && IsFileAt(temporary_, file_)) unlink(temporary_.c_str());
  file_ = Descriptor();
}

RecordFileResult Creation::Open() {
  RecordFileResult result = RemoveTemporary(temporary_);
  if (result < 0) return result;
  Descriptor opened = OpenDescriptor(
      temporary_, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY, kFileMode);
  if (!opened.IsOpen()) return errno == EEXIST ? kUnsettled : ResultFromErrno(errno);
  result = Lock(opened);
  // Between the two calls another creation may have taken the file for a leftover. Then it holds
  // the lock, or has removed the file already and let go of it.
  if (result == kRecordFileOk && !IsFileAt(temporary_, opened)) return kUnsettled;
  if (result < 0 && result != kInUse) unlink(temporary_.c_str());
  if (result < 0) return result;
  file_ = std::move(opened);
  return kRecordFileOk;
}

RecordFileResult Creation::Fill(const RecordFormat& format, std::uint64_t first_sequence) {
  // Whatever the umask is: the readers' group must not depend on who started the writer.
  if (fchmod(file_.get(), kFileMode) != 0) return ResultFromErrno(errno);
  AvoidCopyOnWrite(file_);
  superblock_ = MakeSuperblock(format, first_sequence);
  const std::uint64_t length = InitialLength(superblock_);
  RecordFileResult result = AllocateSpace(file_, 0, length);
  if (result < 0) return result;
  Medium medium = Medium::ByCalls(file_);
  const StatePage state = MakeState(first_sequence, 0);
  result = medium.Write(kSuperblockAOffset, &superblock_, sizeof superblock_);
  if (result < 0) return result;
  result = medium.Write(kSuperblockBOffset, &superblock_, sizeof superblock_);
  return result < 0 ? result : medium.Write(kStateOffset, &state, sizeof state);
}

RecordFileResult Creation::Publish(Predecessor predecessor, Descriptor* file) {
  if (FlushFile(file_) != 0) return ResultFromErrno(errno);
  RecordFileResult result = Rename(predecessor);
  if (result < 0) return result;
  *file = std::move(file_);
  file_ = Descriptor();
  return FlushFolderOf(path_);
}

RecordFileResult Creation::Rename(Predecessor predecessor) {
  // Whoever may not lock the temporary file may still have removed it, and made another.
  if (!IsFileAt(temporary_, file_)) return kUnsettled;
  const unsigned int flags = predecessor == Predecessor::kNone ? RENAME_NOREPLACE : 0;
  if (renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), flags) == 0) {
    return kRecordFileOk;
  }
  if (errno == EEXIST) return kUnsettled;
  return errno == EINVAL ? kReplaceRefused : ResultFromErrno(errno);
}

RecordFileResult CreateRecordFile(const std::string& path, const RecordFormat& format,
                                  Predecessor predecessor, Descriptor* file) {
  Creation creation(path);
  RecordFileResult result = creation.Begin(format, 0);
  if (result < 0) return result;
  const std::uint64_t length = InitialLength(creation.superblock());
  result = creation.Publish(predecessor, file);
  // Nobody reads these pages yet, and nothing depends on when they reach the disk.
  if (result == kRecordFileOk) WriteZeros(*file, kCellsOffset, length);
  return result;
}

void RemoveLeftover(const std::string& path) { RemoveTemporary(path + ".~new"); }

RecordFileResult AllocateSpace(const Descriptor& file, std::uint64_t offset, std::uint64_t length) {
  int error = EINTR;
  while (error == EINTR) {
    error = posix_fallocate(file.get(), static_cast<off_t>(offset), static_cast<off_t>(length));
  }
  if (error == 0) return kRecordFileOk;
  // Some file systems keep what they found before they ran out.
  const bool restored = ftruncate(file.get(), static_cast<off_t>(offset)) == 0;
  return restored ? ResultFromErrno(error) : kSystemError;
}

void WriteZeros(const Descriptor& file, std::uint64_t begin, std::uint64_t end) {
  constexpr std::uint64_t kPieceBytes = 1U << 18U;
  const std::vector<char> zeros(kPieceBytes);
  end = std::min(end, begin + kZerosAtMost);
  while (begin < end) {
    const ssize_t got = pwrite(file.get(), zeros.data(), std::min(kPieceBytes, end - begin),
                               static_cast<off_t>(begin));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return;
    begin += static_cast<std::uint64_t>(got);
  }
}

}  // namespace packetdb::host
