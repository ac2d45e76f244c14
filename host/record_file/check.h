// Whether the bytes of a record file are as a writer leaves them: everything that the layout allows
// to be verified. What the records say is their owner's to judge.
//
// No lock is taken and nothing is changed; a writer may be at work. Which records are looked at is
// fixed at the beginning. What a writer changes meanwhile is judged by what it may be in the middle
// of, never as damage; what it left when it died is judged as the next writer would.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "host/record_file/descriptor.h"
#include "host/record_file/result.h"

namespace packetdb::host {

enum class Severity {
  kNote,     // as it should be, but worth knowing
  kWarning,  // not as our writer leaves it: no record is broken, but answers may lack some
  kDamage,   // no writer leaves it so
};

struct Finding {
  std::uint64_t position = 0;  // byte in the file
  Severity severity = Severity::kDamage;
  std::string_view kind;  // one of the words below, or its owner's
  std::string text;       // one line without a full stop
};

// Called for each finding as it is made, in no particular order of position.
using FindingSink = std::function<void(const Finding&)>;

inline constexpr std::string_view kFindSuperblock = "superblock";
inline constexpr std::string_view kFindNumber = "number";      // in a superblock
inline constexpr std::string_view kFindReserved = "reserved";  // bytes of a superblock
inline constexpr std::string_view kFindLength = "length";      // of the file
inline constexpr std::string_view kFindState = "state";
inline constexpr std::string_view kFindRedo = "redo";
inline constexpr std::string_view kFindFrame = "frame";             // of a record that counts
inline constexpr std::string_view kFindUnusedSlot = "unused_slot";  // of a record that does not
inline constexpr std::string_view kFindPadding = "padding";
inline constexpr std::string_view kFindLost = "lost";  // records that were never flushed
inline constexpr std::string_view kFindNotClosed = "not_closed";
inline constexpr std::string_view kFindFlushFailed = "flush_failed";
inline constexpr std::string_view kFindRedoPending = "redo_pending";
inline constexpr std::string_view kFindAppendPending = "append_pending";

// Checks the open file. Returns kRecordFileOk when it is a record file of this layout, whatever was
// found; kEmptyFile, kNotARecordFile, kOtherByteOrder or kUnsupportedLayout when it is none, with
// nothing found; another failure when it cannot be read, or was cut meanwhile.
RecordFileResult CheckRecordFile(const Descriptor& file, const FindingSink& sink);

}  // namespace packetdb::host
