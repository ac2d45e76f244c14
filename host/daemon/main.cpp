// packetdbd: journals events of the packet filter, and answers queries about them.
#include <csignal>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/config/check.h"
#include "host/daemon/exit_code.h"
#include "host/daemon/hardening.h"
#include "host/daemon/load_configuration.h"
#include "host/daemon/options.h"
#include "host/daemon/service_manager.h"
#include "host/daemon/signals.h"
#include "host/daemon/supervisor.h"
#include "host/log/escape.h"
#include "host/log/log.h"
#include "host/log/standard_streams.h"

namespace packetdb::host {
namespace {

void Complain(const std::string& what) {
  const std::string line = fmt::format("packetdbd: {}\n", EscapeForLog(what));
  std::fputs(line.c_str(), stderr);
}

int Check(const DaemonOptions& options) {
  const ConfigurationCheck check = CheckConfiguration(PlacesFor(options));
  for (const std::string& line : check.lines) {
    std::puts(line.c_str());
  }
  return check.is_right ? kExitOk : kExitUsage;
}

int Run(int argc, char** argv) {
  // 1. What to do, before anything is touched.
  DaemonOptions options;
  if (!ParseOptions(argc, argv, &options)) {
    return kExitOk;
  }
  if (options.check_config) {
    return Check(options);
  }
  const auto load = [&options] { return LoadFor(options); };
  Configuration configuration = load();
  // 2. The log, so that everything after it can be reported.
  ConfigureLog(configuration.log);
  // 3. What no part of the daemon ever needs.
  HardenProcess();
  // 4. Signals, before the first process that could end.
  Signals signals({SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGUSR2});
  // 5. What we are given, before a descriptor of ours could be taken for it.
  ServiceManager manager;
  // 6. The processes.
  Supervisor supervisor(std::move(configuration), load,
                        options.serve_only ? Keep::kNothing : Keep::kNetwork, manager, signals);
  supervisor.Start();
  return supervisor.Run();
}

}  // namespace
}  // namespace packetdb::host

int main(int argc, char** argv) {
  using namespace packetdb::host;
  OpenStandardStreams();
  try {
    return Run(argc, argv);
  } catch (const ConfigurationError& error) {
    for (const std::string& problem : error.problems()) {
      Complain(problem);
    }
    return kExitUsage;
  } catch (const std::invalid_argument& error) {
    Complain(error.what());
    return kExitUsage;
  } catch (const std::exception& error) {
    Complain(error.what());
    return kExitFailed;
  }
}
