#include "host/cli/status_command.h"

#include <cstdio>
#include <fmt/format.h>

#include "host/bus/commands.h"
#include "host/cli/asking.h"
#include "host/cli/report.h"
#include "host/cli/status_json.h"
#include "host/cli/status_tables.h"
#include "host/cli/usage_error.h"

namespace packetdb::host {

namespace {

using Printer = void (*)(const ToldRows& rows, std::FILE* out);

struct Printers {
  Printer table;
  Printer json;
};

Printer PrinterOf(const std::string& format, const Printers& printers) {
  if (format == "table") {
    return printers.table;
  }
  if (format == "json") {
    return printers.json;
  }
  throw UsageError(fmt::format("'{}' is not an output format: give table or json", format));
}

ExitCode Run(const StatusOptions& options, int command, const Printers& printers) {
  const Printer print = PrinterOf(options.output, printers);
  ExitCode status = kExitFailed;
  const auto connection = Reach(options.socket, options.timeout_seconds, &status);
  if (connection == nullptr) {
    return status;
  }
  ToldRows rows;
  status = AskForRows(*connection, command, &rows);
  if (status != kExitOk) {
    return status;
  }
  print(rows, stdout);
  return FlushOutput() ? kExitOk : kExitFailed;
}

}  // namespace

ExitCode RunStatus(const StatusOptions& options) {
  return Run(options, kCommandStatus, {PrintStatusTables, PrintStatusJson});
}

ExitCode RunJournals(const StatusOptions& options) {
  return Run(options, kCommandJournals, {PrintJournalsTable, PrintJournalsJson});
}

}  // namespace packetdb::host
