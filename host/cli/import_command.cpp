#include "host/cli/import_command.h"

#include <cstdio>
#include <fmt/format.h>
#include <iterator>
#include <utility>

#include "host/cli/import_clock.h"
#include "host/cli/import_summary.h"
#include "host/cli/import_values.h"
#include "host/cli/report.h"
#include "host/journals/error.h"
#include "host/sources/capture_reader.h"
#include "host/sources/merged_captures.h"
#include "host/sources/time_keeper.h"

namespace packetdb::host {

namespace {

// False, with a line for each, when a capture cannot be opened.
bool OpenCaptures(const ImportOptions& options, std::vector<CaptureReader>* readers) {
  CaptureOptions capture_options;
  capture_options.interfaces = ParseInterfaceNames(options.interface, options.interface_names);
  capture_options.rules = ParseRules(options.rules);
  bool all_open = true;
  for (const std::string& path : options.captures) {
    CaptureReader reader(path, capture_options);
    if (reader.failure()) {
      Complain(reader.failure()->text);
      all_open = false;
    }
    readers->push_back(std::move(reader));
  }
  return all_open;
}

// Journals every event at its own time, or at that of the newest before it where that is later.
void JournalAll(MergedCaptures& captures, TimeKeeper& keeper, GroupWriter& writer) {
  while (std::optional<Event> event = captures.Next()) {
    keeper.Keep(event->item);
    SetImportClock(std::int64_t{event->item.m_LastTime} + TIME_1980_OFFSET);
    writer.Add(event->item, event->interface);
  }
  ReleaseImportClock();
}

// Who is to account for the packets: all that an import knows at its end, or at its failure.
struct Import {
  const ImportOptions& options;
  GroupWriter& writer;
  std::uint64_t appended_before;
  MergedCaptures& captures;
  TimeKeeper& keeper;
};

void Account(const Import& import) {
  ImportSummary summary;
  summary.group = import.options.group.group;
  summary.captures = import.options.captures.size();
  summary.counters = import.captures.counters();
  summary.records_added = import.writer.RecordsAppended() - import.appended_before;
  summary.records_kept = import.writer.RecordCount();
  summary.window_seconds = import.writer.window_seconds();
  summary.times_adjusted = import.keeper.adjusted();
  PrintSummary(summary, stdout);
}

}  // namespace

ExitCode RunImport(const ImportOptions& options) {
  CheckGroupName(options.group.group);
  std::vector<CaptureReader> readers;
  if (!OpenCaptures(options, &readers)) {
    return kExitFailed;
  }
  GroupWriter writer(options.group);
  if (writer.conversion()) {
    Complain(Describe(*writer.conversion(), writer.path()));
  }
  if (writer.resizing()) {
    Complain(Describe(*writer.resizing(), writer.path()));
  }
  TimeKeeper keeper;
  keeper.RaiseFloor(writer.NewestTime());
  const std::uint64_t before = writer.RecordsAppended();
  MergedCaptures captures(std::move(readers));
  const Import import{options, writer, before, captures, keeper};
  try {
    JournalAll(captures, keeper, writer);
  } catch (const JournalError&) {
    Account(import);  // what was journaled until then stays
    throw;
  }
  Account(import);
  for (const CaptureFailure& failure : captures.failures()) {
    Complain(failure.text);
  }
  return FlushOutput() && captures.failures().empty() ? kExitOk : kExitFailed;
}

}  // namespace packetdb::host
