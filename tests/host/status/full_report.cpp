#include "tests/host/status/full_report.h"

namespace packetdb::host::test {
namespace {

SourceReport FullSource(const std::string& name, std::uint64_t base) {
  SourceReport source;
  source.name = name;
  std::uint64_t value = base;
  for (std::uint64_t* counter :
       {&source.received, &source.journaled, &source.excluded, &source.unrouted,
        &source.lost_overrun, &source.lost_before_read, &source.overruns, &source.foreign,
        &source.malformed, &source.batches, &source.buffer_bytes}) {
    *counter = ++value;
  }
  source.skipped = {{"ipv6", "IPv6", ++value}, {"arp", "ARP", 0}};
  source.remarks = {{"time_clamped", "time before 1980", ++value}};
  return source;
}

JournalFile FullFile() {
  JournalFile file;
  file.layout_version = 2;
  file.life = FileLife::kOpen;
  file.writer = true;
  file.file_bytes = 90681344;
  file.capacity = 1000;
  file.records = 250;
  file.next = 1301;
  file.appended = 1302;
  file.merged = 2604;
  file.overwritten = 1052;
  file.damaged = 303;
  file.lost = 304;
  file.oldest = 1700000000;
  file.newest = 1700000900;
  file.recent = RecentRate{5, 10};
  return file;
}

JournalActivity FullActivity() {
  JournalActivity activity;
  activity.events = 401;
  activity.packets = 402;
  activity.bytes = 403;
  activity.adjusted_times = 404;
  activity.failed = 405;
  activity.appended = 406;
  activity.merged = 407;
  return activity;
}

}  // namespace

DaemonReport FullReport() {
  DaemonReport report = EmptyReport();
  report.daemon = DaemonFacts{1699990000, 11000, 21, 22, 23, 24, 1700000999};
  report.clients = ClientFacts{31, 32, 33, 34, 35};
  report.rules = RuleFacts{41, 42, 43};
  report.sources = {FullSource("nflog:5", 100), FullSource("capture:eth0", 200)};
  report.journals = {{"all", FullFile(), FullActivity()}};
  report.names = {{"all", "all", true, true, 60}, {"eth0", "all", false, true, 60}};
  report.exclusions = {{"noise", 501, 502}};
  report.problems = {"something is wrong"};
  return report;
}

DaemonReport EmptyReport() {
  DaemonReport report;
  report.versions = {"1.2.3", "1.2.4", "4", 2, 1};
  report.now = 1700001000;
  return report;
}

}  // namespace packetdb::host::test
