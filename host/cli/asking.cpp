#include "host/cli/asking.h"

#include <chrono>
#include <fmt/format.h>

#include "host/bus/answer_code.h"
#include "host/bus/client.h"
#include "host/bus/columns.h"
#include "host/bus/table_header.h"
#include "host/cli/report.h"
#include "host/config/configuration.h"
#include "packetdb/query.h"

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

}  // namespace

std::string SocketOf(const std::string& given) {
  return given.empty() ? SocketSettings().path : given;
}

std::unique_ptr<Connection> Reach(const std::string& given, int timeout_seconds, ExitCode* status) {
  const std::string socket = SocketOf(given);
  Timeouts timeouts;
  timeouts.wait = std::chrono::seconds(timeout_seconds);
  BusFailure failure;
  auto connection = ConnectTo(socket, timeouts, &failure);
  if (connection == nullptr) {
    *status = CannotConnect(socket, failure);
  }
  return connection;
}

bool WriteCommand(Message& message, int command) {
  constexpr unsigned int kColumnCommand = 0;
  message.SetKind(kKindRequest);
  message.AddColumn(kIntegerBit | kColumnCommand, sizeof command);
  message.SetRecordCount(1);
  if (message.WriteHeader() < 0) {
    return false;
  }
  message.SetValue(kColumnCommand, &command);
  return message.WriteRecord() >= 0;
}

ExitCode AskingFailed(int answer, const Message& message, const Connection& connection) {
  if (!connection.sound()) {
    Complain(fmt::format("the answer did not arrive: {}", connection.failure().text));
  } else if (answer == UDB_QUERY_FAILED) {
    Complain(fmt::format("the answer is incomplete: {}; the daemon's log says why",
                         ErrorText(static_cast<BusError>(message.LastError()))));
  } else {
    Complain(fmt::format("the daemon refused the query with {}: {}", answer, AnswerText(answer)));
  }
  return kExitFailed;
}

}  // namespace packetdb::host
