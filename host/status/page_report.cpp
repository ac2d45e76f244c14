#include "host/status/page_report.h"

#include <algorithm>

#include "host/sources/counters.h"
#include "host/status/reason_words.h"
#include "host/status/shared_page.h"

namespace packetdb::host {
namespace {

// `Reason` is SkipReason or Remark, of which there are `known`; the page has room for more.
template <class Reason>
std::vector<CountedReason> Counted(const std::array<Counter, kMostReasons>& counters,
                                   std::size_t known) {
  std::vector<CountedReason> counted;
  for (std::size_t i = 0; i < known; ++i) {
    const auto reason = static_cast<Reason>(i);
    counted.push_back({Word(reason), Text(reason), counters[i].Get()});
  }
  return counted;
}

SourceReport ReportOf(const SourceStatus& row) {
  SourceReport report;
  report.name = NameOf(row);
  report.received = row.received.Get();
  report.journaled = row.journaled.Get();
  report.excluded = row.excluded.Get();
  report.unrouted = row.unrouted.Get();
  report.lost_overrun = row.lost_overrun.Get();
  report.lost_before_read = row.lost_before_read.Get();
  report.overruns = row.overruns.Get();
  report.foreign = row.foreign.Get();
  report.malformed = row.malformed.Get();
  report.batches = row.batches.Get();
  report.buffer_bytes = row.buffer_bytes.Get();
  report.skipped = Counted<SkipReason>(row.skipped, kSkipReasons);
  report.remarks = Counted<Remark>(row.remarks, kRemarks);
  return report;
}

}  // namespace

std::optional<DaemonFacts> DaemonFactsOf(const StatusPage& page, const ReportMoment& now) {
  const DaemonStatus& row = page.daemon;
  if (row.started_unix.Get() == 0) return std::nullopt;
  DaemonFacts facts;
  facts.started = row.started_unix.Get();
  facts.uptime_seconds =
      now.boottime_seconds - std::min(row.started_boottime.Get(), now.boottime_seconds);
  facts.reloads = row.reloads.Get();
  facts.failed_reloads = row.failed_reloads.Get();
  facts.query_restarts = row.query_restarts.Get();
  facts.intake_restarts = row.intake_restarts.Get();
  if (row.last_event_unix.Get() != 0) facts.last_event = row.last_event_unix.Get();
  return facts;
}

ClientFacts ClientFactsOf(const StatusPage& page) {
  const QueryStatus& row = page.query;
  ClientFacts facts;
  facts.connections = row.connections.Get();
  facts.active = row.active.Get();
  facts.refused_user = row.refused_user.Get();
  facts.refused_limit = row.refused_limit.Get();
  facts.died = row.died.Get();
  return facts;
}

RuleFacts RuleFactsOf(const StatusPage& page) {
  const RuleStatus& row = page.rules;
  return {row.known.Get(), row.unnumbered.Get(), row.forgotten.Get()};
}

std::vector<SourceReport> SourceReportsOf(const StatusPage& page) {
  std::vector<SourceReport> reports;
  for (const SourceStatus& row : page.sources) {
    if (!NameOf(row).empty()) reports.push_back(ReportOf(row));
  }
  return reports;
}

std::vector<ExclusionReport> ExclusionReportsOf(const StatusPage& page) {
  std::vector<ExclusionReport> reports;
  for (const ExclusionStatus& row : page.exclusions) {
    const std::string name = NameOf(row);
    if (!name.empty()) reports.push_back({name, row.packets.Get(), row.bytes.Get()});
  }
  return reports;
}

JournalActivity ActivityOf(const JournalStatus& row, const std::optional<JournalFile>& file) {
  JournalActivity activity;
  activity.events = row.events.Get();
  activity.packets = row.packets.Get();
  activity.bytes = row.bytes.Get();
  activity.adjusted_times = row.adjusted_times.Get();
  activity.failed = row.failed.Get();
  const std::uint64_t first = row.first_next.Get();
  if (file && file->next >= first) {
    activity.appended = file->next - first;
    activity.merged = activity.events - std::min(*activity.appended, activity.events);
  }
  return activity;
}

}  // namespace packetdb::host
