// Which journal format a record file has.
#pragma once

#include <string>
#include <string_view>

#include "host/record_file/inspect.h"
#include "host/record_file/probe.h"

namespace packetdb::host {

enum class JournalFormat {
  kOther,  // a record file, but no journal that any release wrote
  k3,
  k41,
  k4,  // today's
};

JournalFormat FormatOf(const RecordFileInfo& file);
JournalFormat FormatOf(const FileFacts& facts);

// "3", "4.1", "4"; "none" for kOther.
std::string_view FormatName(JournalFormat format);

// As ProbeRecordFile, but kOtherFormat for a record file that is no journal of any format.
int ProbeJournal(const std::string& path, RecordFileInfo* out);

// Whether the writer converts it when it opens it.
inline bool IsOldFormat(JournalFormat format) {
  return format == JournalFormat::k3 || format == JournalFormat::k41;
}

}  // namespace packetdb::host
