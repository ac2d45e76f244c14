#include "host/cli/query_command.h"

#include <ctime>
#include <fmt/format.h>
#include <vector>

#include "host/bus/answer_code.h"
#include "host/bus/message.h"
#include "host/cli/asking.h"
#include "host/cli/explain.h"
#include "host/cli/report.h"
#include "host/cli/usage_error.h"
#include "host/printing/row_printer.h"

namespace packetdb::host {

namespace {

using Rows = std::vector<PacketDbClientItem>;

PrintOptions OptionsOf(const std::string& format) {
  PrintOptions options;
  if (format == "json") {
    options.format = PrintFormat::kNdjson;
  } else if (format != "table") {
    throw UsageError(fmt::format("'{}' is not an output format: give table or json", format));
  }
  return options;
}

ExitCode Print(const Rows& rows, const PrintOptions& options) {
  const Names names;
  const auto printer = MakeRowPrinter(options, names, stdout);
  for (const PacketDbClientItem& row : rows) {
    printer->Print({row.m_Item, {}});
  }
  printer->Finish();
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
  const PrintOptions print_options = OptionsOf(options.output);
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
  const ExitCode printed = Print(rows, print_options);
  return status == kAnswerOk ? printed : AskingFailed(status, message, *connection);
}

}  // namespace packetdb::host
