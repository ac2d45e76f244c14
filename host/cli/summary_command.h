// `packetdb top`, `group-by`, `histogram` and `blocked`: what records come to.
#pragma once

#include <cstddef>
#include <string>

#include "host/cli/exit_code.h"
#include "host/cli/print_choice.h"
#include "host/cli/question.h"
#include "host/cli/row_origin.h"

namespace packetdb::host {

enum class Summary { kTop, kGroupBy, kHistogram, kBlocked };

struct SummaryOptions {
  QuestionOptions question;
  OriginOptions origin;
  PrintChoice print;
  std::string by;  // fields; empty: those of the summary
  std::string sort = "count";
  std::string bin = "1h";  // of a histogram
  std::size_t most = 10;   // groups of top, values of a histogram
  bool has_ascii_bars = false;
  bool exit_status = false;
};

// Sums on stdout, notes and errors on stderr. Throws UsageError and UnreadableExpression.
ExitCode RunSummary(Summary summary, const SummaryOptions& options);

}  // namespace packetdb::host
