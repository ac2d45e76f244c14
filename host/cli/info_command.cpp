#include "host/cli/info_command.h"

#include <cstdio>

#include "host/cli/examined_file.h"
#include "host/cli/info_report.h"
#include "host/cli/output_format.h"
#include "host/cli/report.h"
#include "host/record_file/inspect.h"

namespace packetdb::host {

namespace {

ExitCode Examine(InfoReport* info) {
  Descriptor file;
  ExitCode status = OpenToExamine(info->path, &file);
  if (status != kExitOk) {
    return status;
  }
  Snapshot snapshot(file);
  status = BeginToExamine(info->path, snapshot, &info->format);
  if (status != kExitOk) {
    return status;
  }
  info->facts = snapshot.facts();
  info->window = snapshot.window();
  RecordFileResult result = FindWriter(file, &info->writer);
  if (result == kRecordFileOk) {
    result = Summarise(snapshot, info->format, &info->summary);
  }
  return result < 0 ? CannotExamine(info->path, result) : kExitOk;
}

}  // namespace

ExitCode RunInfo(const InfoOptions& options) {
  const OutputFormat output = ParseOutputFormat(options.output);
  InfoReport info;
  info.path = options.path;
  const ExitCode status = Examine(&info);
  if (status != kExitOk) {
    return status;
  }
  output == OutputFormat::kJson ? PrintInfoJson(info, stdout) : PrintInfoText(info, stdout);
  return FlushOutput() ? kExitOk : kExitFailed;
}

}  // namespace packetdb::host
