// What the operations of the record file return when they do not succeed: one line per code.
#pragma once

#include <string_view>

namespace packetdb::host {

// -6 is the platform contract's; the host's own codes start at -101, away from every code that the
// library gives a meaning.
enum RecordFileResult : int {
  kRecordFileOk = 0,
  kOtherFormat = -6,  // a sound file of another magic or record size

  // Callers.
  kNotOpen = -101,         // the file is closed
  kReadOnlyFile = -102,    // a change of a file that was opened read-only
  kBadMode = -103,         // a mode with unknown bits, or with bits that contradict each other
  kBadPath = -104,         // an empty path, one with a NUL, or one that is too long
  kBadMagic = -105,        // a missing magic or one longer than 127 bytes
  kBadRecordSize = -106,   // a record size of 0 or beyond 504
  kBadCapacity = -107,     // creation with room for no records
  kBadTicket = -109,       // a ticket that is negative
  kDeadTicket = -110,      // a ticket whose record is gone or was never there
  kBadPosition = -111,     // a position outside 0 .. RecordCount() - 1
  kBadCount = -112,        // a count of records that is not positive
  kNoBuffer = -113,        // a null pointer for a record
  kTooManyRecords = -114,  // an unbounded file with 2^31 - 1 records

  // What is at the path.
  kMissing = -121,       // nothing is there, or its folder is missing
  kNoPermission = -122,  // the system does not let us open, create or replace it
  kInUse = -123,         // somebody has it open in a way that excludes this
  kUnsettled = -124,     // it was replaced again and again while it was being opened
  kIsDirectory = -125,
  kIsSymlink = -126,       // a symbolic link, which is never followed
  kNotRegular = -127,      // a FIFO, socket or device
  kReplaceRefused = -128,  // the file system cannot put a new file into place atomically
  // For writing, because somebody else could have put it there or change it.
  kForeignOwner = -118,      // it belongs to another user
  kWritableByOthers = -119,  // its mode lets group or others write
  kLinkedElsewhere = -120,   // it has other names, in a folder where others can make names

  // What is in the file.
  kEmptyFile = -131,
  kNotARecordFile = -132,     // no signature
  kTruncatedFile = -133,      // shorter than its header says
  kOverlongFile = -134,       // longer than its header says
  kDamagedHeader = -135,      // both superblocks are damaged
  kOtherByteOrder = -136,     // made by a machine of the other byte order
  kUnsupportedLayout = -137,  // a layout version or flag that this program does not know
  kAbsurdHeader = -138,       // numbers that contradict each other under a good checksum

  // A record of an open file.
  kDamagedRecord = -151,  // it should be there, and is not: torn, rotted or never flushed
  kRecordGone = -152,     // a writer has overwritten it since the records were counted
  kFileLost = -153,       // the file was cut or could not be read while it was open

  // The system.
  kNoSpace = -141,       // no room on the disk or in the quota
  kFileTooLarge = -142,  // beyond the limit of the file system or the process
  kNoMemory = -143,      // no memory or address space, or too many mappings
  kNoDescriptor = -144,  // too many open files
  kReadOnlyDisk = -145,  // the file system is mounted read-only
  kSystemError = -146,   // any other failure of a system call, e.g. an I/O error
};

// One sentence without a full stop; a fixed text for codes that are not in the table. Results above
// 0 are successes.
std::string_view DescribeRecordFileResult(int result);

// The code for a failed system call.
RecordFileResult ResultFromErrno(int error);

}  // namespace packetdb::host
