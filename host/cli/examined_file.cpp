#include "host/cli/examined_file.h"

#include <fmt/format.h>

#include "host/cli/report.h"
#include "host/record_file/open.h"

namespace packetdb::host {

ExitCode OpenToExamine(const std::string& path, Descriptor* file) {
  const bool is_path = !path.empty() && path.find('\0') == std::string::npos;
  const RecordFileResult result =
      is_path ? OpenUnlocked(path, Access::kRead, file) : RecordFileResult::kBadPath;
  return result < 0 ? CannotExamine(path, result) : kExitOk;
}

ExitCode BeginToExamine(const std::string& path, Snapshot& snapshot, JournalFormat* format) {
  const RecordFileResult result = snapshot.Begin();
  if (result < 0) {
    return CannotExamine(path, result);
  }
  *format = FormatOf(snapshot.facts());
  return *format == JournalFormat::kOther ? NoJournal(path, snapshot.facts()) : kExitOk;
}

JournalFormat FormatOf(const FileFacts& facts) {
  RecordFileInfo info;
  info.record_size = facts.format.record_size;
  info.magic = facts.format.magic;
  return FormatOf(info);
}

ExitCode NoJournal(const std::string& path, const FileFacts& facts) {
  Complain(
      fmt::format("{}: it is a record file, but no journal: its magic is '{}' and its "
                  "records have {} bytes",
                  path, facts.format.magic, facts.format.record_size));
  return kExitFailed;
}

ExitCode CannotExamine(const std::string& path, RecordFileResult result) {
  Complain(fmt::format("{}: {}", path, DescribeRecordFileResult(result)));
  return result == kNoPermission ? kExitNotPermitted : kExitFailed;
}

}  // namespace packetdb::host
