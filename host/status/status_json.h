// What the commands of the bus tell, as objects of JSON, one in each row. docs/bus_protocol.md has
// their keys.
#pragma once

#include <string>
#include <vector>

#include "host/status/report.h"

namespace packetdb::host {

// Bounds of an answer, about 4 MiB in all. What is left out is counted in a row of its own.
inline constexpr std::size_t kMostListedNames = 4096;  // journals and interfaces together
inline constexpr std::size_t kMostListedProblems = 64;
inline constexpr std::size_t kLongestProblem = 1024;  // bytes; the rest of its text is cut off

// The report as a whole.
std::vector<std::string> StatusRows(const DaemonReport& report);

// The names that a query may carry.
std::vector<std::string> JournalRows(const DaemonReport& report);

}  // namespace packetdb::host
