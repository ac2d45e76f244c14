#include "host/record_file/result.h"

#include <algorithm>
#include <array>
#include <cerrno>

namespace packetdb::host {
namespace {

struct Text {
  int result;
  std::string_view text;
};

constexpr std::array kTexts = std::to_array<Text>({
    {kOtherFormat, "it is a sound record file, but of another magic or record size"},
    {kNotOpen, "the record file is not open"},
    {kReadOnlyFile, "the record file is open for reading only"},
    {kBadMode, "the mode has bits that mean nothing, or that contradict each other"},
    {kBadPath, "the path is empty, too long or contains a NUL"},
    {kBadMagic, "the magic is missing or longer than 127 bytes"},
    {kBadRecordSize, "the record size is 0 or beyond 504 bytes"},
    {kBadCapacity, "a record file cannot be created with room for no records"},
    {kBadTicket, "the ticket is negative"},
    {kDeadTicket, "the ticket names no record that exists"},
    {kBadPosition, "the position is not that of a record"},
    {kBadCount, "the count of records is not positive"},
    {kNoBuffer, "the record buffer is missing"},
    {kTooManyRecords, "the record file holds 2147483647 records, which is all it can number"},
    {kMissing, "the file or its folder does not exist"},
    {kNoPermission, "permission denied"},
    {kInUse, "the record file is in use by another process; try again when that is done"},
    {kUnsettled, "the record file was replaced repeatedly while it was being opened"},
    {kIsDirectory, "it is a directory"},
    {kIsSymlink, "it is a symbolic link, which is not followed"},
    {kNotRegular, "it is not a regular file"},
    {kReplaceRefused, "the file system cannot put a new file into place atomically"},
    {kForeignOwner, "it belongs to another user, and only its owner may write to it"},
    {kWritableByOthers, "its mode lets others write, so that it cannot be relied on"},
    {kLinkedElsewhere, "it has other names, and others may have made them"},
    {kEmptyFile, "the file is empty"},
    {kNotARecordFile, "it is not a record file"},
    {kTruncatedFile, "the record file is shorter than its header says"},
    {kOverlongFile, "the record file is longer than its header says"},
    {kDamagedHeader, "both superblocks of the record file are damaged"},
    {kOtherByteOrder, "the record file was made on a machine of the other byte order"},
    {kUnsupportedLayout, "the record file has a layout that this program does not know"},
    {kAbsurdHeader, "the numbers in the header of the record file contradict each other"},
    {kDamagedRecord, "a record is damaged"},
    {kRecordGone, "a record was overwritten by a newer one while it was being read"},
    {kFileLost, "the file was cut or could not be read while it was open"},
    {kNoSpace, "no space left on the disk or in the quota"},
    {kFileTooLarge, "the file would exceed the size limit of the file system or the process"},
    {kNoMemory, "out of memory or address space"},
    {kNoDescriptor, "too many open files"},
    {kReadOnlyDisk, "the file system is mounted read-only"},
    {kSystemError, "a system call failed"},
});

}  // namespace

std::string_view DescribeRecordFileResult(int result) {
  if (result >= kRecordFileOk) return "success";
  const auto* found = std::find_if(kTexts.begin(), kTexts.end(),
                                   [result](const Text& text) { return text.result == result; });
  return found == kTexts.end() ? "an unknown result of the record file" : found->text;
}

RecordFileResult ResultFromErrno(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return kMissing;
    case EACCES:
    case EPERM:
      return kNoPermission;
    case EISDIR:
      return kIsDirectory;
    case ELOOP:
      return kIsSymlink;
    case ENXIO:
      return kNotRegular;
    case ENAMETOOLONG:
      return kBadPath;
    case ENOSPC:
    case EDQUOT:
      return kNoSpace;
    case EFBIG:
    case EOVERFLOW:
      return kFileTooLarge;
    case ENOMEM:
      return kNoMemory;
    case EMFILE:
    case ENFILE:
      return kNoDescriptor;
    case EROFS:
      return kReadOnlyDisk;
    case EAGAIN:
    case EBUSY:
    case ETXTBSY:
      return kInUse;
    default:
      return kSystemError;
  }
}

}  // namespace packetdb::host
