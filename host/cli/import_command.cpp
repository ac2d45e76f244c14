#include "host/cli/import_command.h"

#include <cstdio>
#include <fmt/format.h>
#include <iterator>
#include <utility>

#include "host/cli/import_clock.h"
#include "host/cli/import_options.h"
#include "host/cli/import_summary.h"
#include "host/cli/report.h"
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

}  // namespace

ExitCode RunImport(const ImportOptions& options) {
  std::vector<CaptureReader> readers;
  if (!OpenCaptures(options, &readers)) {
    return kExitFailed;
  }
  GroupWriter writer(options.group);
  TimeKeeper keeper;
  keeper.RaiseFloor(writer.NewestTime());
  const std::uint64_t before = writer.RecordsAppended();

  MergedCaptures captures(std::move(readers));
  JournalAll(captures, keeper, writer);

  ImportSummary summary;
  summary.group = options.group.group;
  summary.captures = options.captures.size();
  summary.counters = captures.counters();
  summary.records_added = writer.RecordsAppended() - before;
  summary.records_kept = writer.RecordCount();
  summary.window_seconds = writer.window_seconds();
  summary.times_adjusted = keeper.adjusted();
  PrintSummary(summary, stdout);
  for (const CaptureFailure& failure : captures.failures()) {
    Complain(failure.text);
  }
  return captures.failures().empty() ? kExitOk : kExitFailed;
}

}  // namespace packetdb::host
