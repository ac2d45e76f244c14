#include "host/daemon/server_sockets.h"

#include <fmt/format.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <utility>

#include "host/daemon/identity.h"
#include "host/daemon/loopback.h"
#include "host/log/log.h"

namespace packetdb::host {

namespace {

std::optional<gid_t> GroupOf(const Configuration& configuration) {
  const std::string& group = configuration.socket.group;
  return group.empty() ? std::nullopt : std::optional(FindGroup(group));
}

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// Where everybody may rename files, everybody may put a socket of their own into the place of ours.
void RequireTrustedFolder(const std::string& path) {
  const std::string folder = FolderOf(path);
  struct stat status {};
  if (stat(folder.c_str(), &status) == 0 && (status.st_mode & S_IWOTH) != 0 &&
      (status.st_mode & S_ISVTX) == 0) {
    throw std::runtime_error(fmt::format(
        "cannot listen at {}: everybody may write to its directory; chmod o-w {}", path, folder));
  }
}

std::shared_ptr<Listener> Listen(const std::string& path, const Configuration& configuration) {
  RequireTrustedFolder(path);
  ListenOptions options;
  options.path = path;
  options.mode = configuration.socket.mode;
  options.group = GroupOf(configuration);
  BusFailure failure;
  std::shared_ptr<Listener> listener = Listener::Open(options, &failure);
  if (listener == nullptr) {
    throw std::runtime_error(fmt::format("cannot listen at {}: {}", path, failure.text));
  }
  return listener;
}

using Opened = std::shared_ptr<Listener>;

Opened ListenIfAsked(const std::string& path, const Configuration& configuration) {
  return path.empty() ? nullptr : Listen(path, configuration);
}

Opened LoopbackIfAsked(std::uint16_t port) { return port == 0 ? nullptr : ListenOnLoopback(port); }

void Adapt(Listener& listener, const Configuration& configuration) {
  BusFailure failure;
  if (!listener.SetAccess(configuration.socket.mode, GroupOf(configuration), &failure)) {
    WriteLog(1,
             fmt::format("cannot change who may connect to {}: {}", listener.path(), failure.text));
  }
}

}  // namespace

std::vector<Listener*> ServerSockets::all_metrics() const {
  std::vector<Listener*> all;
  for (const auto& listener : {metrics, loopback}) {
    if (listener != nullptr) {
      all.push_back(listener.get());
    }
  }
  return all;
}

ServerSockets OpenServerSockets(const Configuration& configuration, ServiceManager& manager) {
  ServerSockets sockets;
  if (auto given = manager.TakeQuerySocket(); given) {
    sockets.query = Listener::Adopt(std::move(*given), "the socket of the service manager");
    sockets.query_is_given = true;
  } else {
    sockets.query = Listen(configuration.socket.path, configuration);
  }
  if (auto given = manager.TakeMetricsSocket(); given) {
    sockets.metrics = Listener::Adopt(std::move(*given), "the metrics socket");
    sockets.metrics_is_given = true;
  } else {
    sockets.metrics = ListenIfAsked(configuration.metrics.socket, configuration);
  }
  sockets.loopback = LoopbackIfAsked(configuration.metrics.loopback_port);
  return sockets;
}

ServerSockets ReopenServerSockets(const ServerSockets& sockets, const Configuration& before,
                                  const Configuration& after) {
  ServerSockets next = sockets;
  if (!sockets.query_is_given && after.socket.path != before.socket.path) {
    next.query = Listen(after.socket.path, after);
  }
  if (!sockets.metrics_is_given && after.metrics.socket != before.metrics.socket) {
    next.metrics = ListenIfAsked(after.metrics.socket, after);
  }
  if (after.metrics.loopback_port != before.metrics.loopback_port) {
    next.loopback = LoopbackIfAsked(after.metrics.loopback_port);
  }
  return next;
}

void ApplyAccess(const ServerSockets& sockets, const Configuration& configuration) {
  if (!sockets.query_is_given) {
    Adapt(*sockets.query, configuration);
  }
  if (!sockets.metrics_is_given && sockets.metrics != nullptr) {
    Adapt(*sockets.metrics, configuration);
  }
}

}  // namespace packetdb::host
