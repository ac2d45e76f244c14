#include "host/cli/query_command.h"

#include <ctime>
#include <fmt/format.h>

#include "host/bus/answer_code.h"
#include "host/bus/message.h"
#include "host/cli/asking.h"
#include "host/cli/explain.h"
#include "host/cli/report.h"
#include "host/cli/rows.h"
#include "host/cli/usage_error.h"

namespace packetdb::host {

namespace {

using Printer = void (*)(const Rows& rows, std::FILE* out);

Printer PrinterOf(const std::string& format) {
  if (format == "table") {
    return PrintTable;
  }
  if (format == "json") {
    return PrintJson;
  }
  throw UsageError(fmt::format("'{}' is not an output format: give table or json", format));
}

ExitCode Print(const Rows& rows, Printer printer) {
  printer(rows, stdout);
  return FlushOutput() ? kExitOk : kExitFailed;
}

// The library's answer does not tell an empty selection from a failure; the daemon can.
ExitCode NothingCame(const std::string& name, Connection& connection) {
  const std::string reason = ExplainLastQuery(connection);
  if (!reason.empty()) {
    Complain(fmt::format("the query failed: {}", reason));
    return kExitFailed;
  }
  Complain(fmt::format("nothing matched in '{}'", name));
  return kExitOk;
}

}  // namespace

ExitCode RunQuery(const QueryOptions& options) {
  const Printer printer = PrinterOf(options.output);
  Query query = MakeQuery(options.criteria, std::time(nullptr));
  ExitCode unreached = kExitFailed;
  const auto connection = Reach(options.socket, options.timeout_seconds, &unreached);
  if (connection == nullptr) {
    return unreached;
  }
  Message message(*connection);
  Rows rows;
  const int status = query.process(&message, &rows);
  if (status == kAnswerNothingOrFailed) {
    return NothingCame(options.criteria.name, *connection);
  }
  if (status != kAnswerOk && rows.empty()) {
    return AskingFailed(status, message, *connection);
  }
  const ExitCode printed = Print(rows, printer);
  return status == kAnswerOk ? printed : AskingFailed(status, message, *connection);
}

}  // namespace packetdb::host
