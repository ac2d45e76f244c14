// The checks of a ruleset's logging. Each adds what it finds, in the order of the rules.
#pragma once

#include <functional>
#include <vector>

#include "host/rules/lint.h"
#include "host/rules/ruleset.h"

namespace packetdb::host {

struct FoundLog {
  const FilterRule* rule;
  const LogStatement* log;
};

// All log statements, those to the kernel's own log included.
std::vector<FoundLog> AllLogs(const Ruleset& ruleset);

// Whether packetdbd is configured to read the group that is logged to.
bool IsRead(const LogStatement& log, const LintSettings& settings);

// "'pdb:input:12:drop'", without control bytes.
std::string QuotedPrefix(const std::string& prefix);

using Findings = std::vector<RuleFinding>;

// The checks of groups (group_checks.cpp).
void CheckTakenGroups(const std::vector<FoundLog>& logs, const LintSettings& settings,
                      Findings& findings);
void CheckUnreadGroups(const std::vector<FoundLog>& logs, const LintSettings& settings,
                       Findings& findings);
void CheckKernelLog(const std::vector<FoundLog>& logs, Findings& findings);

// The checks of prefixes (prefix_checks.cpp).
void CheckForms(const std::vector<FoundLog>& logs, const LintSettings& settings,
                Findings& findings);
void CheckVerdicts(const std::vector<FoundLog>& logs, const LintSettings& settings,
                   Findings& findings);
void CheckSamePrefixes(const std::vector<FoundLog>& logs, const LintSettings& settings,
                       Findings& findings);
void CheckMissingPrefixes(const std::vector<FoundLog>& logs, const LintSettings& settings,
                          Findings& findings);
void CheckPrefixLengths(const std::vector<FoundLog>& logs, Findings& findings);

// The checks of what is copied of each packet (length_checks.cpp).
void CheckShortCopies(const std::vector<FoundLog>& logs, Findings& findings);
void CheckMissingLengths(const std::vector<FoundLog>& logs, Findings& findings);

}  // namespace packetdb::host
