// Whether the bytes of a record file are as a writer leaves them: everything that the layout allows
// to be verified. What the records say is their owner's to judge.
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

inline constexpr std::string_view kFindSuperblock = "superblock";
inline constexpr std::string_view kFindLength = "length";  // of the file
inline constexpr std::string_view kFindState = "state";
inline constexpr std::string_view kFindFrame = "frame";
inline constexpr std::string_view kFindPadding = "padding";

// Checks the open file. Returns kRecordFileOk when it is a record file of this layout, whatever was
// found; kEmptyFile, kNotARecordFile, kOtherByteOrder or kUnsupportedLayout when it is none, with
// nothing found; another failure when it cannot be read.
RecordFileResult CheckRecordFile(const Descriptor& file, const FindingSink& sink);

}  // namespace packetdb::host
