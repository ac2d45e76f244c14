#include "host/cli/examined_file.h"

#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <sys/stat.h>

#include "host/cli/report.h"
#include "host/journals/conversion_files.h"
#include "host/record_file/open.h"

namespace packetdb::host {

namespace {

// A conversion that ends between two of its steps leaves the old journal under another name only.
ExitCode TellOfInterruptedConversion(const std::string& path) {
  Complain(
      fmt::format("{0}: it does not exist, but its {1} file does: its conversion was interrupted; "
                  "complete it with packetdb convert {0}",
                  path, kOldSuffix));
  return kExitFailed;
}

}  // namespace

ExitCode OpenToExamine(const std::string& path, Descriptor* file) {
  const bool is_path = !path.empty() && path.find('\0') == std::string::npos;
  const RecordFileResult result =
      is_path ? OpenUnlocked(path, Access::kRead, file) : RecordFileResult::kBadPath;
  if (result == kMissing && IsBeside(path, kOldSuffix)) {
    return TellOfInterruptedConversion(path);
  }
  return result < 0 ? CannotExamine(path, result) : kExitOk;
}

bool IsBeside(const std::string& path, std::string_view suffix) {
  struct stat status = {};
  return lstat((path + std::string(suffix)).c_str(), &status) == 0;
}

ExitCode BeginToExamine(const std::string& path, Snapshot& snapshot, JournalFormat* format) {
  const RecordFileResult result = snapshot.Begin();
  if (result < 0) {
    return CannotExamine(path, result);
  }
  *format = FormatOf(snapshot.facts());
  return *format == JournalFormat::kOther ? NoJournal(path, snapshot.facts()) : kExitOk;
}

ExitCode NoJournal(const std::string& path, const FileFacts& facts) {
  Complain(
      fmt::format("{}: it is a record file, but no journal: its magic is '{}' and its "
                  "records have {} bytes",
                  path, facts.format.magic, facts.format.record_size));
  return kExitFailed;
}

ExitCode CannotExamine(const std::string& path, RecordFileResult result) {
  const int error = errno;  // of the call that failed, should the result not say which it was
  std::string reason(DescribeRecordFileResult(result));
  if (result == kSystemError) {
    reason += fmt::format(": {}", std::strerror(error));
  }
  Complain(fmt::format("{}: {}", Shortened(path), reason));
  return result == kNoPermission ? kExitNotPermitted : kExitFailed;
}

}  // namespace packetdb::host
