// The service manager: what it is told, and what it gives.
//
// Without one (no NOTIFY_SOCKET, no LISTEN_FDS) everything here does nothing and gives nothing.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "host/bus/socket_descriptor.h"

namespace packetdb::host {

class ServiceManager {
 public:
  // Takes over the descriptors that the process was started with. What is no business of ours is
  // closed, with a line in the log.
  ServiceManager();

  // The listening socket for queries, and that for metrics, where a socket unit made them. Each is
  // given once.
  std::optional<SocketDescriptor> TakeQuerySocket();
  std::optional<SocketDescriptor> TakeMetricsSocket();
  // The socket of a log group that was stored.
  std::optional<SocketDescriptor> TakeLogGroup(std::uint16_t group);
  // Closes what nobody took, and has the service manager forget it.
  void DropTheRest();

  // Keeps the log group's socket over our end, however that comes, until ForgetLogGroup.
  void StoreLogGroup(std::uint16_t group, int fd);
  void ForgetLogGroup(std::uint16_t group);

  void Ready(std::string_view status);
  void Reloading();
  void Stopping();
  void Status(std::string_view status);
  void FeedWatchdog();
  // How long it waits for that; none when it does not.
  std::optional<std::chrono::microseconds> watchdog() const { return watchdog_; }

 private:
  void Sort(const std::string& name, SocketDescriptor fd);
  static std::optional<SocketDescriptor> Take(std::optional<SocketDescriptor>* from);

  std::optional<SocketDescriptor> query_;
  std::optional<SocketDescriptor> metrics_;
  std::map<std::uint16_t, SocketDescriptor> log_groups_;
  std::optional<std::chrono::microseconds> watchdog_;
};

}  // namespace packetdb::host
