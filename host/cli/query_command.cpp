#include "host/cli/query_command.h"

#include <chrono>
#include <ctime>
#include <fmt/format.h>
#include <memory>

#include "host/bus/answer_code.h"
#include "host/bus/client.h"
#include "host/bus/message.h"
#include "host/cli/explain.h"
#include "host/cli/report.h"
#include "host/cli/rows.h"
#include "host/cli/usage_error.h"

namespace packetdb::host {

namespace {

ExitCode ExitCodeOf(BusError error) {
  switch (error) {
    case BusError::kNoSuchSocket:
    case BusError::kNotASocket:
    case BusError::kRefused:
    case BusError::kTimedOut:
      return kExitUnreachable;
    case BusError::kNotPermitted:
      return kExitNotPermitted;
    default:
      return kExitFailed;
  }
}

ExitCode CannotConnect(const std::string& socket, const BusFailure& failure) {
  Complain(fmt::format("cannot reach packetdbd: {}; is it running with --socket {}?", failure.text,
                       socket));
  return ExitCodeOf(failure.code);
}

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

ExitCode AskingFailed(int status, const Message& message, const Connection& connection) {
  if (!connection.sound()) {
    Complain(fmt::format("the answer did not arrive: {}", connection.failure().text));
  } else if (status == UDB_QUERY_FAILED) {
    Complain(fmt::format("the answer is incomplete: {}; the daemon's log says why",
                         ErrorText(static_cast<BusError>(message.LastError()))));
  } else {
    Complain(fmt::format("the daemon refused the query with {}: {}", status, AnswerText(status)));
  }
  return kExitFailed;
}

}  // namespace

ExitCode RunQuery(const QueryOptions& options) {
  const Printer printer = PrinterOf(options.output);
  Query query = MakeQuery(options.criteria, std::time(nullptr));
  Timeouts timeouts;
  timeouts.wait = std::chrono::seconds(options.timeout_seconds);
  BusFailure failure;
  const std::unique_ptr<Connection> connection = ConnectTo(options.socket, timeouts, &failure);
  if (connection == nullptr) {
    return CannotConnect(options.socket, failure);
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
