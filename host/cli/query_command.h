// `packetdb query`: asks a daemon, or a journal's file, and prints the answer.
#pragma once

#include <string>
#include <vector>

#include "host/cli/exit_code.h"
#include "host/cli/question.h"
#include "host/cli/row_origin.h"

namespace packetdb::host {

struct QueryOptions {
  QuestionOptions question;
  OriginOptions origin;
  std::string output = "table";  // see SetFormat
  std::string fields;            // separated by commas; empty: those of the format
  std::string colour = "auto";
  bool numeric = false;
  bool utc = false;
  bool reverse = false;  // newest first
  bool follow = false;
  bool explain = false;
  bool exit_status = false;
};

// Rows on stdout, notes and errors on stderr. Throws UsageError.
ExitCode RunQuery(const QueryOptions& options);

}  // namespace packetdb::host
