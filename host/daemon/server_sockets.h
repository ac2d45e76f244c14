// The sockets that the daemon listens on.
#pragma once

#include <memory>
#include <vector>

#include "host/bus/listener.h"
#include "host/config/configuration.h"
#include "host/daemon/service_manager.h"

namespace packetdb::host {

struct ServerSockets {
  std::shared_ptr<Listener> query;
  std::shared_ptr<Listener> metrics;   // null: none
  std::shared_ptr<Listener> loopback;  // for metrics too; null: none

  std::vector<Listener*> all_metrics() const;
};

// Opens what the configuration names, or takes it from the service manager. Throws
// std::runtime_error, with nothing left open.
ServerSockets OpenServerSockets(const Configuration& configuration, ServiceManager& manager);

}  // namespace packetdb::host
