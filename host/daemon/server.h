// The serving process: takes connections and gives each a process of its own.
#pragma once

#include <memory>
#include <set>
#include <sys/types.h>

#include "host/bus/listener.h"
#include "host/daemon/options.h"
#include "host/daemon/signals.h"

namespace packetdb::host {

class Server {
 public:
  Server(const DaemonOptions& options, Listener& listener, Signals& signals);

  // Serves until it is asked to stop; then ends the processes of the connections still open.
  void Run();

 private:
  void AwaitEvent(bool* connection_waits, bool* signal_waits) const;
  bool HandleSignals();
  void AcceptOne();
  void Fork(Connection& connection);
  [[noreturn]] void BeChild(Connection& connection);
  void ReapChildren();
  void StopChildren();
  bool IsFull() const;

  const DaemonOptions& options_;
  Listener& listener_;
  Signals& signals_;
  std::set<pid_t> children_;
};

}  // namespace packetdb::host
