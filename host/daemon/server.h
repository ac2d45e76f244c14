// The query process: takes connections and gives each a process of its own.
#pragma once

#include <chrono>
#include <set>
#include <sys/types.h>
#include <vector>

#include "host/bus/listener.h"
#include "host/bus/socket_descriptor.h"
#include "host/config/configuration.h"
#include "host/daemon/admission.h"
#include "host/daemon/refusals.h"
#include "host/daemon/sandbox.h"
#include "host/daemon/signals.h"
#include "host/status/status_page.h"

namespace packetdb::host {

class Server {
 public:
  struct Parts {
    const Configuration& configuration;
    Listener& queries;
    std::vector<Listener*> metrics;
    Signals& signals;
    StatusPage& page;
    Admission& admission;
    const SandboxFilter& connection_sandbox;
    std::chrono::milliseconds beat;  // the loop turns at least this often
  };

  // Everything outlives the server. Throws std::system_error.
  explicit Server(const Parts& parts);

  // Serves until SIGTERM, and then ends the processes of the connections still open; or until the
  // signal to hand over, and then until these have come to their end by themselves.
  void Run();

 private:
  enum class Phase { kServing, kHandingOver, kStopping };

  void Turn();
  void HandleSignals();
  void AcceptQuery();
  void AcceptMetrics(Listener& listener);
  void Admit(Connection& connection);
  void Refuse(Admittance verdict, const Connection& connection);
  void AcceptFailed(const BusFailure& failure, Listener& listener);
  pid_t Fork();
  void BeConnection() const;
  void ReapChildren();
  void ReportDeath(pid_t child, int status);
  void StopChildren();
  void Publish() const;

  Parts parts_;
  Phase phase_ = Phase::kServing;
  std::set<pid_t> metrics_processes_;
  RefusalLog refusals_;
  // Given up for a moment when there is no other descriptor left, so that a connection can be taken
  // and closed instead of waiting for ever.
  SocketDescriptor reserve_;
};

}  // namespace packetdb::host
