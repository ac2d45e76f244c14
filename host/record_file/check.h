// Whether the bytes of a record file are as a writer leaves them: everything that layout version 1
// allows to be verified. What the records say is their owner's to judge.
//
// No lock is taken and nothing is changed; a writer may be at work.
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

inline constexpr std::string_view kFindSignature = "signature";
inline constexpr std::string_view kFindChecksum = "checksum";
inline constexpr std::string_view kFindNumber = "number";      // of the header
inline constexpr std::string_view kFindReserved = "reserved";  // bytes of the header that are 0
inline constexpr std::string_view kFindLength = "length";      // of the file
inline constexpr std::string_view kFindCommitWord = "commit_word";
inline constexpr std::string_view kFindRedoWord = "redo_word";
inline constexpr std::string_view kFindRedoPending = "redo_pending";
inline constexpr std::string_view kFindPadding = "padding";
inline constexpr std::string_view kFindUnusedSlot = "unused_slot";

// Checks the open file. Returns kRecordFileOk when it is a record file of this layout, whatever was
// found; kEmptyFile, kNotARecordFile, kOtherByteOrder or kUnsupportedLayout when it is none, with
// nothing found; another failure when it cannot be read. Wrong bytes that lie close together are
// one finding, which tells their length. A signature that is wrong alone, in a page whose checksum
// is right otherwise, is damage and no other kind of file.
RecordFileResult CheckRecordFile(const Descriptor& file, const FindingSink& sink);

// Tells whether somebody has the file open for writing, without taking that place. `writer` is
// untouched on failure.
RecordFileResult FindWriter(const Descriptor& file, bool* writer);

}  // namespace packetdb::host
