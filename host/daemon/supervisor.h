// Starts the processes of the daemon, watches over them, and replaces them.
//
// It reads the configuration and nothing else: no byte of a packet or of a client.
#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include "host/config/configuration.h"
#include "host/daemon/backoff.h"
#include "host/daemon/child_process.h"
#include "host/daemon/intake_loop.h"
#include "host/daemon/live_sources.h"
#include "host/daemon/privileges.h"
#include "host/daemon/server_sockets.h"
#include "host/daemon/service_manager.h"
#include "host/daemon/signals.h"
#include "host/daemon/watchdog.h"
#include "host/status/shared_page.h"

namespace packetdb::host {

class Supervisor {
 public:
  // Reads the configuration again. Throws std::runtime_error with one line.
  using Load = std::function<Configuration()>;

  // Signals answers SIGTERM, SIGINT, SIGHUP, SIGUSR1 and SIGUSR2. What is passed by reference
  // outlives the supervisor.
  // `keep`: what later reloads may need.
  Supervisor(Configuration configuration, Load load, Keep keep, ServiceManager& manager,
             Signals& signals);

  // Opens everything, becomes the user of the configuration and starts the processes. Throws
  // std::runtime_error with one line when one of them cannot start; then none is left.
  void Start();
  // Watches over them until the daemon is to end or has to. Returns its exit status.
  int Run();

 private:
  using Clock = std::chrono::steady_clock;
  using Child = std::unique_ptr<ChildProcess>;

  struct Name {
    const char* text;   // for log lines
    const char* shown;  // for lists of processes
  };
  static const Name kIntake;
  static const Name kQueries;

  // What a configuration needs that is open.
  struct Opened {
    LiveSources sources;
    ServerSockets sockets;
  };

  void OpenEverything();
  void GiveUpRights() const;
  Child StartIntake(const Configuration& configuration, Opened& opened,
                    std::optional<Moment> since);
  Child StartQueries(const Configuration& configuration, Opened& opened);
  Child StartChild(const Name& name, const ChildProcess::Work& work);
  std::chrono::milliseconds Beat() const;

  void Turn();
  int TimeToWait() const;
  void HandleSignals();
  void ChangeLogLevel(int by);
  void SetUpLog(const LogOptions& options) const;
  void LookAtChildren();
  void QueriesEnded();
  void RestartQueries();
  void FeedWatchdog();
  // Feeds it while the supervisor waits for another process, since `begin`; not for ever.
  void ExcuseWatchdog(Clock::time_point begin);

  void Reload();
  void ReloadFailed(const char* why) const;
  void Replace(const Configuration& next);
  Opened Prepare(const Configuration& next);
  void SwapIntake(const Configuration& next, Opened& opened);
  void HandIntakeOver(Moment cut);
  void RecoverIntake();
  void RetireQueries(Child successor);

  void Stop();
  void StopChild(ChildProcess& child, std::chrono::seconds patience);
  std::string StatusText() const;

  Configuration configuration_;
  Load load_;
  Keep keep_;
  ServiceManager& manager_;
  Signals& signals_;
  StatusPagePtr page_;
  Opened opened_;
  Child intake_;              // null when nothing is to be taken in
  Child queries_;             // null while it waits to be started again
  std::list<Child> retired_;  // query processes that answer what they have begun
  Backoff backoff_;
  Clock::time_point queries_started_;
  Clock::time_point queries_due_;
  std::optional<Watchdog> watchdog_;
  std::optional<int> ending_;  // exit status, once it is decided
};

}  // namespace packetdb::host
