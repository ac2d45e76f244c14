// packetdbd: serves the journals of a directory on a Unix socket.
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <stdexcept>

#include "host/bus/listener.h"
#include "host/daemon/options.h"
#include "host/daemon/server.h"
#include "host/daemon/signals.h"
#include "host/journals/open_journals.h"
#include "host/log/escape.h"
#include "host/log/log.h"
#include "host/log/standard_streams.h"

namespace packetdb::host {
namespace {

constexpr int kExitOk = 0;
constexpr int kExitUsage = 2;
constexpr int kExitFailed = 7;

// Says what will be served; a directory that cannot be read ends the start.
void ReportJournals(const std::string& directory) {
  const OpenJournals journals(directory);
  for (const std::string& problem : journals.problems()) {
    WriteLog(1, problem);
  }
  WriteLog(2, fmt::format("groups in {}: {} ({})", directory, journals.groups().size(),
                          fmt::join(journals.groups(), " ")));
}

int Run(int argc, char** argv) {
  // 1. What to do, before anything is touched.
  DaemonOptions options;
  if (!ParseOptions(argc, argv, &options)) {
    return kExitOk;
  }
  // 2. The log, so that everything after it can be reported.
  ConfigureLog(options.log);
  // 3. Signals, before the first process that could end.
  Signals signals;
  // 4. The socket; who connects from here on waits for an answer.
  BusFailure failure;
  const auto listener = Listener::Open({options.socket, options.socket_mode, {}}, &failure);
  if (listener == nullptr) {
    throw std::runtime_error(fmt::format("cannot listen at {}: {}", options.socket, failure.text));
  }
  // 5. The journals. One that cannot be served is reported; a directory that cannot be read ends
  // the start, and the socket goes with it.
  ReportJournals(options.directory);
  WriteLog(2, fmt::format("listening at {}", options.socket));
  Server(options, *listener, signals).Run();
  return kExitOk;
}

void Complain(const char* what) {
  const std::string line = fmt::format("packetdbd: {}\n", EscapeForLog(what));
  std::fputs(line.c_str(), stderr);
}

}  // namespace
}  // namespace packetdb::host

int main(int argc, char** argv) {
  using namespace packetdb::host;
  OpenStandardStreams();
  try {
    return Run(argc, argv);
  } catch (const std::invalid_argument& error) {
    Complain(error.what());
    return kExitUsage;
  } catch (const std::exception& error) {
    Complain(error.what());
    return kExitFailed;
  }
}
