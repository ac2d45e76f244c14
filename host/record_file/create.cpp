#include "host/record_file/create.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

#include "host/record_file/open.h"

namespace packetdb::host {
namespace {

constexpr mode_t kFileMode = 0640;  // the writer writes, readers share its group

// Nobody of ours leaves such a thing under the temporary name, so there is no lock to wait for.
bool CannotBeACreation(RecordFileResult why_not_opened) {
  return why_not_opened == kIsSymlink || why_not_opened == kNotRegular ||
         why_not_opened == kNoPermission;
}

// Removes what a killed creation left at `path`.
//
// Whoever removes or renames a file under the temporary name holds the lock on that very file, so
// no process ever moves another's unfinished file into place.
RecordFileResult RemoveLeftover(const std::string& path) {
  Descriptor leftover;
  const RecordFileResult result = OpenLocked(path, Access::kWrite, &leftover);
  if (result == kMissing) return kRecordFileOk;
  if (result < 0 && !CannotBeACreation(result)) return result;
  return unlink(path.c_str()) == 0 ? kRecordFileOk : ResultFromErrno(errno);
}

RecordFileResult OpenTemporary(const std::string& path, Descriptor* file) {
  RecordFileResult result = RemoveLeftover(path);
  if (result < 0) return result;
  Descriptor opened(
      open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY, kFileMode));
  if (!opened.IsOpen()) return errno == EEXIST ? kUnsettled : ResultFromErrno(errno);
  result = Lock(opened, Access::kWrite);
  // Between the two calls another creation may have taken the file for a leftover. Then it holds
  // the lock, or has removed the file already and let go of it.
  if (result == kRecordFileOk && !Names(path, opened)) return kUnsettled;
  if (result < 0 && result != kInUse) unlink(path.c_str());
  if (result < 0) return result;
  *file = std::move(opened);
  return kRecordFileOk;
}

RecordFileResult WriteHeader(const Descriptor& file, const HeaderPage& header) {
  const ssize_t written = pwrite(file.get(), &header, sizeof header, 0);
  if (written < 0) return ResultFromErrno(errno);
  // Its space is allocated: a short write is no lack of room.
  return static_cast<std::size_t>(written) == sizeof header ? kRecordFileOk : kSystemError;
}

std::uint64_t InitialLength(const HeaderPage& header) {
  const bool bounded = header.capacity != 0;
  const std::uint64_t slots = bounded ? header.slot_count : GrowthSlots(header.slot_size);
  return header.slots_offset + slots * header.slot_size;
}

// The state of an empty file is all zeros, which is what fresh space reads as.
RecordFileResult Fill(const Descriptor& file, const RecordFormat& format) {
  // Whatever the umask is: the readers' group must not depend on who started the writer.
  if (fchmod(file.get(), kFileMode) != 0) return ResultFromErrno(errno);
  const HeaderPage header = MakeHeader(format);
  const RecordFileResult result = AllocateSpace(file, 0, InitialLength(header));
  return result < 0 ? result : WriteHeader(file, header);
}

RecordFileResult Publish(const std::string& temporary, const std::string& path,
                         Predecessor predecessor) {
  const unsigned int flags = predecessor == Predecessor::kNone ? RENAME_NOREPLACE : 0;
  if (renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), flags) == 0) {
    return kRecordFileOk;
  }
  if (errno == EEXIST) return kUnsettled;
  return errno == EINVAL ? kReplaceRefused : ResultFromErrno(errno);
}

}  // namespace

RecordFileResult CreateRecordFile(const std::string& path, const RecordFormat& format,
                                  Predecessor predecessor, Descriptor* file) {
  const std::string temporary = path + ".~new";
  Descriptor created;
  RecordFileResult result = OpenTemporary(temporary, &created);
  if (result < 0) return result;
  result = Fill(created, format);
  if (result == kRecordFileOk) result = Publish(temporary, path, predecessor);
  if (result < 0) {
    unlink(temporary.c_str());
    return result;
  }
  *file = std::move(created);
  return kRecordFileOk;
}

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

}  // namespace packetdb::host
