// `packetdb query`: asks a daemon, or a journal's file, and prints the answer.
#pragma once

#include "host/cli/exit_code.h"
#include "host/cli/print_choice.h"
#include "host/cli/question.h"
#include "host/cli/row_origin.h"

namespace packetdb::host {

struct QueryOptions {
  QuestionOptions question;
  OriginOptions origin;
  PrintChoice print;
  bool reverse = false;  // newest first
  bool follow = false;
  bool explain = false;
  bool exit_status = false;
};

// Rows on stdout, notes and errors on stderr. Throws UsageError and UnreadableExpression.
ExitCode RunQuery(const QueryOptions& options);

}  // namespace packetdb::host
