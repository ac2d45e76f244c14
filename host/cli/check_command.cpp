#include "host/cli/check_command.h"

#include <cstdio>

#include "host/cli/check_records.h"
#include "host/cli/check_report.h"
#include "host/cli/examined_file.h"
#include "host/cli/output_format.h"
#include "host/cli/report.h"
#include "host/record_file/check.h"
#include "host/record_file/snapshot.h"

namespace packetdb::host {

namespace {

// A file whose damage keeps its records from being read has been reported on by then.
ExitCode CheckJournal(const std::string& path, const Descriptor& file, const FindingSink& sink,
                      CheckReport* report) {
  Snapshot snapshot(file);
  RecordFileResult result = snapshot.Begin();
  if (result < 0) {
    return report->damaged() ? kExitOk : CannotExamine(path, result);
  }
  const JournalFormat format = FormatOf(snapshot.facts());
  if (format == JournalFormat::kOther) {
    return NoJournal(path, snapshot.facts());
  }
  RecordsChecked checked;
  result = CheckRecords(snapshot, format, sink, &checked);
  report->SetRecords(format, checked);
  return result < 0 ? CannotExamine(path, result) : kExitOk;
}

ExitCode Check(const std::string& path, CheckReport* report) {
  const FindingSink sink = [report](const Finding& finding) { report->Add(finding); };
  Descriptor file;
  const ExitCode opened = OpenToExamine(path, &file);
  if (opened != kExitOk) {
    return opened;
  }
  bool writer = false;
  RecordFileResult result = FindWriter(file, &writer);
  if (result == kRecordFileOk) {
    result = CheckRecordFile(file, sink);
  }
  if (result < 0) {
    return CannotExamine(path, result);
  }
  report->SetWriter(writer);
  return CheckJournal(path, file, sink, report);
}

}  // namespace

ExitCode RunCheck(const CheckOptions& options) {
  const OutputFormat output = ParseOutputFormat(options.output);
  CheckReport report(options.path);
  const ExitCode checked = Check(options.path, &report);
  if (checked != kExitOk) {
    return checked;
  }
  output == OutputFormat::kJson ? report.PrintJson(stdout) : report.PrintText(stdout);
  if (!FlushOutput()) {
    return kExitFailed;
  }
  if (report.damaged()) {
    return kExitDamaged;
  }
  return report.writer() ? kExitInUse : kExitOk;
}

}  // namespace packetdb::host
