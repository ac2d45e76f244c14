#include "host/cli/check_command.h"

#include <cstdio>
#include <fmt/format.h>

#include "host/cli/check_records.h"
#include "host/cli/check_report.h"
#include "host/cli/examined_file.h"
#include "host/cli/output_format.h"
#include "host/cli/report.h"
#include "host/cli/rescue_command.h"
#include "host/journals/conversion_files.h"
#include "host/record_file/check.h"
#include "host/record_file/snapshot.h"

namespace packetdb::host {

namespace {

// Judged before the contents, which may be gigabytes. A file that is too damaged to be told passes.
bool IsJournal(const std::string& path, const Descriptor& file) {
  Snapshot snapshot(file);
  const bool can_tell = snapshot.BeginDespiteDamage() == kRecordFileOk;
  if (can_tell && FormatOf(snapshot.facts()) == JournalFormat::kOther) {
    NoJournal(path, snapshot.facts());
    return false;
  }
  return true;
}

// A file whose damage keeps its records from being read has been reported on by then.
ExitCode CheckJournal(const std::string& path, const Descriptor& file, const FindingSink& sink,
                      CheckReport* report) {
  Snapshot snapshot(file);
  RecordFileResult result = snapshot.BeginDespiteDamage();
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

RecordFileResult LookForWriter(const Descriptor& file, CheckReport* report) {
  bool writer = false;
  const RecordFileResult result = FindWriter(file, &writer);
  if (writer) {
    report->SetWriter();
  }
  return result;
}

void NoteConversion(const std::string& path, const FindingSink& sink) {
  for (const std::string_view suffix : {kOldSuffix, kTemporarySuffix}) {
    if (IsBeside(path, suffix)) {
      sink({0, Severity::kNote, kFindConversion,
            fmt::format("beside it is a file of its name with {} behind: a conversion was "
                        "interrupted or is under way; packetdb convert settles that",
                        suffix)});
    }
  }
}

// Asks for a writer at both ends: one may have come meanwhile, or gone.
ExitCode CheckContents(const std::string& path, const Descriptor& file, CheckReport* report) {
  const FindingSink sink = [report](const Finding& finding) { report->Add(finding); };
  RecordFileResult result = LookForWriter(file, report);
  if (result == kRecordFileOk) {
    result = CheckRecordFile(file, sink);
  }
  if (result < 0) {
    return CannotExamine(path, result);
  }
  NoteConversion(path, sink);
  const ExitCode checked = CheckJournal(path, file, sink, report);
  if (checked != kExitOk) {
    return checked;
  }
  result = LookForWriter(file, report);
  return result < 0 ? CannotExamine(path, result) : kExitOk;
}

ExitCode Check(const std::string& path, CheckReport* report) {
  Descriptor file;
  const ExitCode opened = OpenToExamine(path, &file);
  if (opened != kExitOk) {
    return opened;
  }
  return IsJournal(path, file) ? CheckContents(path, file, report) : kExitFailed;
}

}  // namespace

ExitCode RunCheck(const CheckOptions& options) {
  if (!options.rescue.to.empty()) {
    return RunRescue(options);
  }
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
