// How the daemon is doing, as one moment's numbers: from the shared page and from a look at the
// journal files. What the bus, people and Prometheus are told is made from it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/journals/open_journals.h"
#include "host/status/journal_file.h"
#include "host/status/status_page.h"

namespace packetdb::host {

// When a report is made.
struct ReportMoment {
  std::int64_t unix_seconds = 0;
  std::uint64_t boottime_seconds = 0;  // of CLOCK_BOOTTIME

  static ReportMoment Now();
};

struct Versions {
  std::string program;
  std::string library;  // that the program was built with
  std::string journal_format;
  std::uint32_t layout = 0;  // of journal files
  std::uint32_t bus_protocol = 0;
};

// Of a page that the daemon has begun to fill. Times are Unix seconds.
struct DaemonFacts {
  std::uint64_t started = 0;
  std::uint64_t uptime_seconds = 0;
  std::uint64_t reloads = 0;
  std::uint64_t failed_reloads = 0;
  std::uint64_t query_restarts = 0;
  std::uint64_t intake_restarts = 0;
  std::optional<std::uint64_t> last_event;  // when the newest event was journaled
};

struct ClientFacts {
  std::uint64_t connections = 0;  // taken
  std::uint64_t active = 0;
  std::uint64_t refused_user = 0;
  std::uint64_t refused_limit = 0;
  std::uint64_t died = 0;  // processes of connections that a signal ended
};

// Counters are those of RuleStatus.
struct RuleFacts {
  std::uint64_t known = 0;
  std::uint64_t unnumbered = 0;
  std::uint64_t forgotten = 0;
};

// How often something happened, with its word for programs and its text for people.
struct CountedReason {
  std::string_view word;
  std::string_view text;
  std::uint64_t count = 0;
};

// Counters are those of SourceStatus.
struct SourceReport {
  std::string name;
  std::uint64_t received = 0;
  std::uint64_t journaled = 0;
  std::uint64_t excluded = 0;
  std::uint64_t unrouted = 0;
  std::uint64_t lost_overrun = 0;
  std::uint64_t lost_before_read = 0;
  std::uint64_t overruns = 0;
  std::uint64_t foreign = 0;
  std::uint64_t malformed = 0;
  std::uint64_t batches = 0;
  std::uint64_t buffer_bytes = 0;
  std::vector<CountedReason> skipped;  // every reason, also those of none
  std::vector<CountedReason> remarks;

  std::uint64_t Skipped() const;
  std::uint64_t Lost() const { return lost_overrun + lost_before_read; }
};

// What intake did with a journal since the daemon started. Counters are those of JournalStatus.
struct JournalActivity {
  std::uint64_t events = 0;
  std::uint64_t packets = 0;
  std::uint64_t bytes = 0;
  std::uint64_t adjusted_times = 0;
  std::uint64_t failed = 0;
  // Events that made a record, and those that were added to one. None when the file is not there or
  // is not the one that intake began with. The file is looked at a moment before the counters:
  // while events come, what came in between counts as merged.
  std::optional<std::uint64_t> appended;
  std::optional<std::uint64_t> merged;
};

struct JournalReport {
  std::string name;
  std::optional<JournalFile> file;          // none: the report's problems say why
  std::optional<JournalActivity> activity;  // none: intake does not write it
};

struct ExclusionReport {
  std::string name;
  std::uint64_t packets = 0;
  std::uint64_t bytes = 0;
};

struct DaemonReport {
  Versions versions;
  std::int64_t now = 0;
  std::optional<DaemonFacts> daemon;  // none: nobody fills a page
  std::optional<ClientFacts> clients;
  std::optional<RuleFacts> rules;
  std::vector<SourceReport> sources;
  std::vector<JournalReport> journals;  // sorted by name
  std::vector<JournalName> names;       // that a query may carry
  std::vector<ExclusionReport> exclusions;
  std::vector<std::string>
      problems;  // what keeps a journal or a name from being served, a line each
};

// Looks at the journals of `directory` and then at the page, which may be null. Whatever is wrong
// with the journals becomes a problem of the report.
DaemonReport MakeReport(const StatusPage* page, const std::string& directory,
                        const ReportMoment& now);

}  // namespace packetdb::host
