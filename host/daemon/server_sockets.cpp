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
  } else {
    sockets.query = Listen(configuration.socket.path, configuration);
  }
  if (auto given = manager.TakeMetricsSocket(); given) {
    sockets.metrics = Listener::Adopt(std::move(*given), "the metrics socket");
  } else {
    sockets.metrics = ListenIfAsked(configuration.metrics.socket, configuration);
  }
  sockets.loopback = LoopbackIfAsked(configuration.metrics.loopback_port);
  return sockets;
}

}  // namespace packetdb::host
