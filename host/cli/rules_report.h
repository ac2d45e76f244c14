// What `packetdb rules lint` prints.
#pragma once

#include <cstdio>

#include "host/cli/output_format.h"
#include "host/rules/lint.h"

namespace packetdb::host {

// As text: a block of lines for each finding, and notes on stderr. As JSON: one object with all.
void PrintLint(const LintResult& result, OutputFormat format, std::FILE* out);

}  // namespace packetdb::host
