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
  // Made by the service manager, which decides where they are and who may connect.
  bool query_is_given = false;
  bool metrics_is_given = false;

  std::vector<Listener*> all_metrics() const;
};

// Opens what the configuration names, or takes it from the service manager. Throws
// std::runtime_error, with nothing left open.
ServerSockets OpenServerSockets(const Configuration& configuration, ServiceManager& manager);

// The same for a configuration that takes the place of another, whose sockets these are: those that
// stay are the same objects.
ServerSockets ReopenServerSockets(const ServerSockets& sockets, const Configuration& before,
                                  const Configuration& after);

// Gives sockets that were opened earlier the mode and the group of the configuration. What does not
// succeed is logged.
void ApplyAccess(const ServerSockets& sockets, const Configuration& configuration);

}  // namespace packetdb::host
