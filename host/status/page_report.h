// The shared page as parts of a report.
#pragma once

#include <vector>

#include "host/status/report.h"

namespace packetdb::host {

// None when the daemon has not filled in its start, as where nobody supervises.
std::optional<DaemonFacts> DaemonFactsOf(const StatusPage& page, const ReportMoment& now);
ClientFacts ClientFactsOf(const StatusPage& page);
RuleFacts RuleFactsOf(const StatusPage& page);

// Rows that are used, in the order of their first use.
std::vector<SourceReport> SourceReportsOf(const StatusPage& page);
std::vector<ExclusionReport> ExclusionReportsOf(const StatusPage& page);

// The journal's row; `file` is what its file told a moment ago.
JournalActivity ActivityOf(const JournalStatus& row, const std::optional<JournalFile>& file);

}  // namespace packetdb::host
