#include "host/status/report.h"

#include <algorithm>
#include <ctime>
#include <fmt/format.h>
#include <numeric>

#include "host/bus/frame.h"
#include "host/journals/error.h"
#include "host/journals/names.h"
#include "host/record_file/layout.h"
#include "host/status/page_report.h"
#include "host/status/shared_page.h"

namespace packetdb::host {
namespace {

Versions OurVersions() {
  return {.program = PACKETDB_VERSION,
          .library = PACKETDB_VERSION,
          .journal_format = std::string(FormatName(JournalFormat::k4)),
          .layout = kLayoutVersion,
          .bus_protocol = kProtocolVersion};
}

JournalReport ReadJournal(const std::string& directory, const std::string& name, std::int64_t now,
                          std::vector<std::string>* problems) {
  JournalReport report;
  report.name = name;
  const std::string path = JournalPath(directory, name);
  JournalFile file;
  const RecordFileResult result = ReadJournalFile(path, now, &file);
  if (result == kRecordFileOk) {
    report.file = file;
  } else {
    problems->push_back(
        fmt::format("cannot look at journal {}: {}", path, DescribeRecordFileResult(result)));
  }
  return report;
}

void AddFiles(const std::string& directory, DaemonReport* report) {
  try {
    const OpenJournals journals(directory);
    report->problems = journals.problems();
    report->names = journals.Names();
    for (const std::string& name : journals.groups()) {
      report->journals.push_back(ReadJournal(directory, name, report->now, &report->problems));
    }
  } catch (const JournalError& error) {
    report->problems.emplace_back(error.what());
  }
}

JournalReport& JournalNamed(const std::string& name, DaemonReport* report) {
  auto& journals = report->journals;
  const auto place = std::lower_bound(
      journals.begin(), journals.end(), name,
      [](const JournalReport& journal, const std::string& key) { return journal.name < key; });
  if (place != journals.end() && place->name == name) return *place;
  return *journals.insert(place, {.name = name, .file = {}, .activity = {}});
}

void AddPage(const StatusPage& page, const ReportMoment& now, DaemonReport* report) {
  report->daemon = DaemonFactsOf(page, now);
  report->clients = ClientFactsOf(page);
  report->rules = RuleFactsOf(page);
  report->sources = SourceReportsOf(page);
  report->exclusions = ExclusionReportsOf(page);
  for (const JournalStatus& row : page.journals) {
    const std::string name = NameOf(row);
    if (name.empty()) continue;
    JournalReport& journal = JournalNamed(name, report);
    journal.activity = ActivityOf(row, journal.file);
  }
}

}  // namespace

ReportMoment ReportMoment::Now() {
  timespec since_boot = {};
  clock_gettime(CLOCK_BOOTTIME, &since_boot);
  return {std::time(nullptr), static_cast<std::uint64_t>(since_boot.tv_sec)};
}

std::uint64_t SourceReport::Skipped() const {
  return std::accumulate(
      skipped.begin(), skipped.end(), std::uint64_t{0},
      [](std::uint64_t sum, const CountedReason& reason) { return sum + reason.count; });
}

DaemonReport MakeReport(const StatusPage* page, const std::string& directory,
                        const ReportMoment& now) {
  DaemonReport report;
  report.versions = OurVersions();
  report.now = now.unix_seconds;
  AddFiles(directory, &report);
  if (page != nullptr) AddPage(*page, now, &report);
  return report;
}

}  // namespace packetdb::host
