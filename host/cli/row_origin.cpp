#include "host/cli/row_origin.h"

#include <chrono>
#include <utility>
#include <vector>

#include "host/bus/client.h"
#include "host/cli/asking.h"
#include "host/cli/report.h"
#include "host/reading/ask_names.h"
#include "host/reading/daemon_source.h"
#include "host/reading/file_source.h"
#include "host/reading/names_of_files.h"

namespace packetdb::host {

namespace {

ExitCode ReachDaemon(const OriginOptions& options, Origin* origin) {
  const std::string socket = SocketOf(options.socket);
  ExitCode unreached = kExitFailed;
  auto connection = Reach(socket, options.timeout_seconds, &unreached);
  if (connection == nullptr) {
    return unreached;
  }
  origin->names = AskForNames(*connection);
  const auto first = std::make_shared<std::unique_ptr<Connection>>(std::move(connection));
  Timeouts timeouts;
  timeouts.wait = std::chrono::seconds(options.timeout_seconds);
  origin->open = [=](const std::string& name, const InterfaceChoice& choice) {
    auto connect = [=](BusFailure* failure) {
      const bool is_ready = *first != nullptr && (*first)->sound();
      return is_ready ? std::move(*first) : ConnectTo(socket, timeouts, failure);
    };
    return std::make_unique<DaemonSource>(connect, name, choice);
  };
  return kExitOk;
}

ExitCode ReachFile(const OriginOptions& options, Origin* origin) {
  std::vector<std::string> problems;
  origin->names = NamesOfFiles(options.file, options.configuration, &problems);
  for (const std::string& problem : problems) {
    Complain(problem);
  }
  origin->open = [path = options.file](const std::string&, const InterfaceChoice& choice) {
    return std::make_unique<FileSource>(path, choice);
  };
  return kExitOk;
}

}  // namespace

ExitCode Reach(const OriginOptions& options, Origin* origin) {
  return options.file.empty() ? ReachDaemon(options, origin) : ReachFile(options, origin);
}

std::uint64_t DamagedIn(const RowSource& source) {
  const auto* const file = dynamic_cast<const FileSource*>(&source);
  return file == nullptr ? 0 : file->damaged();
}

}  // namespace packetdb::host
