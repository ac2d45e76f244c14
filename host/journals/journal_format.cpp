#include "host/journals/journal_format.h"

#include "host/record_file/result.h"
#include "packetdb/journal_format.h"

namespace packetdb::host {

JournalFormat FormatOf(const RecordFileInfo& file) {
  if (file.magic == kFormat3Magic && file.record_size == kFormat3RecordSize) {
    return JournalFormat::k3;
  }
  if (file.magic != kJournalMagic) {
    return JournalFormat::kOther;
  }
  switch (file.record_size) {
    case kFormat41RecordSize:
      return JournalFormat::k41;
    case kJournalRecordSize:
      return JournalFormat::k4;
    default:
      return JournalFormat::kOther;
  }
}

JournalFormat FormatOf(const FileFacts& facts) {
  RecordFileInfo info;
  info.record_size = facts.format.record_size;
  info.magic = facts.format.magic;
  return FormatOf(info);
}

std::string_view FormatName(JournalFormat format) {
  switch (format) {
    case JournalFormat::k3:
      return "3";
    case JournalFormat::k41:
      return "4.1";
    case JournalFormat::k4:
      return "4";
    default:
      return "none";
  }
}

int ProbeJournal(const std::string& path, RecordFileInfo* out) {
  RecordFileInfo info;
  const int status = ProbeRecordFile(path, &info);
  if (status < 0) {
    return status;
  }
  if (FormatOf(info) == JournalFormat::kOther) {
    return kOtherFormat;
  }
  *out = info;
  return status;
}

}  // namespace packetdb::host
