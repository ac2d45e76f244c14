// What a daemon tells of itself, for people.
#pragma once

#include <cstdio>

#include "host/cli/told_rows.h"

namespace packetdb::host {

// A line for each fact of the daemon, and tables of sources, journals and exclusions.
void PrintStatusTables(const ToldRows& rows, std::FILE* out);

// The names that a query takes, each on a line.
void PrintJournalsTable(const ToldRows& rows, std::FILE* out);

// The parts of the status that are about journals.
void PrintJournalTables(const ToldRows& journals, std::FILE* out);

// What is wrong with the journals; nothing when nothing is.
void PrintProblems(const ToldRows& rows, std::FILE* out);

}  // namespace packetdb::host
