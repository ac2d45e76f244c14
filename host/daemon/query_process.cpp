#include "host/daemon/query_process.h"

#include <csignal>
#include <fmt/format.h>

#include "host/daemon/admission.h"
#include "host/daemon/exit_code.h"
#include "host/daemon/hardening.h"
#include "host/daemon/identity.h"
#include "host/daemon/privileges.h"
#include "host/daemon/sandbox.h"
#include "host/daemon/server.h"
#include "host/journals/open_journals.h"
#include "host/log/log.h"

namespace packetdb::host {

namespace {

// Says what will be served; a directory that cannot be read ends the start.
void ReportJournals(const std::string& directory) {
  const OpenJournals journals(directory);
  for (const std::string& problem : journals.problems()) {
    WriteLog(kFailureLevel, problem);
  }
  WriteLog(kNoticeLevel, fmt::format("groups in {}: {} ({})", directory, journals.groups().size(),
                                     fmt::join(journals.groups(), " ")));
}

}  // namespace

int RunQueries(const Configuration& configuration, const ServerSockets& sockets, Signals& signals,
               StatusPage& page, std::chrono::milliseconds beat, StartReport& report) {
  // 1. The end can be asked for from here on.
  signals.BeChild({SIGTERM, SIGCHLD, HandOverSignal()});
  // 2. Rights that no query needs.
  LimitCapabilities(Keep::kNothing);
  ForbidInspection();
  // 3. What takes files that connections may not open.
  Admission admission(configuration.limits, FindUsers(configuration.socket.allowed_users));
  const SandboxFilter connection_sandbox(Sandbox::kConnection);
  SandboxFilter(Sandbox::kServer).Enter();
  // 4. The journals. One that cannot be served is reported.
  ReportJournals(configuration.directory);
  Server server({configuration, *sockets.query, sockets.all_metrics(), signals, page, admission,
                 connection_sandbox, beat});
  report.Ready();
  server.Run();
  return kExitOk;
}

}  // namespace packetdb::host
