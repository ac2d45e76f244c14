// What a daemon tells of itself, for programs. docs/guide.md has the keys.
#pragma once

#include <cstdio>

#include "host/cli/told_rows.h"

namespace packetdb::host {

// One object.
void PrintStatusJson(const ToldRows& rows, std::FILE* out);

// One object per line.
void PrintJournalsJson(const ToldRows& rows, std::FILE* out);

}  // namespace packetdb::host
