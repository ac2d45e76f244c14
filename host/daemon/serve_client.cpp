#include "host/daemon/serve_client.h"

#include <boost/make_shared.hpp>
#include <exception>
#include <fmt/format.h>

#include "host/bus/commands.h"
#include "host/bus/dispatcher.h"
#include "host/bus/serve.h"
#include "host/daemon/journal_command.h"
#include "host/daemon/names_command.h"
#include "host/daemon/query_limits.h"
#include "host/log/log.h"
#include "host/status/status_commands.h"
#include "packetdb/query.h"

namespace packetdb::host {

namespace {

std::string PeerText(const Connection& connection) {
  const auto peer = connection.Peer();
  return peer ? fmt::format("client (pid {}, uid {})", peer->pid, peer->uid) : "client";
}

void Register(Dispatcher& dispatcher, int command,
              const boost::shared_ptr<UdbDispatcher::IUdbCallback>& handler) {
  const UdbDispatcher::CommandCallbackT<int> entry(handler, command);
  dispatcher.commands().push_back(entry);
}

void LogCommand(const std::string& peer, const CommandReport& report) {
  if (report.outcome == CommandOutcome::kServed) {
    return;  // the library has logged what it did
  }
  WriteLog(report.outcome == CommandOutcome::kUnknownCommand ? 2 : 1,
           fmt::format("{}: command {}: {}", peer, report.command, OutcomeText(report.outcome)));
}

void LogEnd(const std::string& peer, const ServeResult& result) {
  constexpr int kOrderly = 4;
  constexpr int kDisorderly = 2;
  const bool orderly = result.end.code == BusError::kPeerClosed;
  WriteLog(orderly ? kOrderly : kDisorderly,
           fmt::format("{}: closed after {} commands: {}", peer, result.commands, result.end.text));
}

}  // namespace

ServeResult ServeCommands(Connection& connection, const Configuration& configuration,
                          const StatusPage& page, unsigned int row_limit,
                          const CommandObserver& observer) {
  const std::string& directory = configuration.directory;
  const auto state = boost::make_shared<ConnectionState>();
  state->row_limit = row_limit;
  Dispatcher dispatcher;
  Register(dispatcher, UDB_GET_DBQUERY, boost::make_shared<JournalCommand>(directory, state));
  Register(dispatcher, kCommandExplain, boost::make_shared<ExplainCommand>(state));
  Register(dispatcher, kCommandStatus, boost::make_shared<StatusCommand>(&page, directory));
  Register(dispatcher, kCommandJournals, boost::make_shared<JournalsCommand>(directory));
  Register(dispatcher, kCommandNames, boost::make_shared<NamesCommand>(configuration));
  connection.set_max_message(LongestRequest(configuration.limits));
  return ServeConnection(connection, dispatcher, observer, RequestLimitsOf(configuration.limits));
}

void ServeClient(Connection& connection, const Configuration& configuration,
                 const StatusPage& page) {
  const std::string peer = PeerText(connection);
  const LimitSettings& limits = configuration.limits;
  LimitMemory(limits.memory_mib);
  LimitWork(limits.query_seconds);
  const auto after_command = [&](const CommandReport& report) {
    LogCommand(peer, report);
    LimitWork(limits.query_seconds);  // the next query has the whole time again
  };
  try {
    LogEnd(peer, ServeCommands(connection, configuration, page, RowLimitFor(limits, connection),
                               after_command));
  } catch (const std::exception& error) {
    WriteLog(kFailureLevel, fmt::format("{}: {}", peer, error.what()));
  }
}

}  // namespace packetdb::host
