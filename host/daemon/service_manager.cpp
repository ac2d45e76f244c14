#include "host/daemon/service_manager.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fmt/format.h>
#include <systemd/sd-daemon.h>
#include <utility>

#include "host/log/log.h"

namespace packetdb::host {

namespace {

constexpr std::string_view kLogGroup = "nflog-";
constexpr std::string_view kMetrics = "metrics";
constexpr int kKeepVariables = 0;

void Notify(const std::string& text) {
  const int result = sd_notify(kKeepVariables, text.c_str());
  if (result < 0) {
    WriteLog(kFailureLevel,
             fmt::format("cannot tell the service manager: {}", std::strerror(-result)));
  }
}

std::optional<std::uint16_t> GroupIn(std::string_view name) {
  std::uint16_t group = 0;
  if (!name.starts_with(kLogGroup)) {
    return std::nullopt;
  }
  name.remove_prefix(kLogGroup.size());
  const char* end = name.data() + name.size();
  const auto parsed = std::from_chars(name.data(), end, group);
  return parsed.ec == std::errc() && parsed.ptr == end ? std::optional(group) : std::nullopt;
}

bool Listens(int fd) { return sd_is_socket(fd, AF_UNSPEC, SOCK_STREAM, 1) > 0; }

std::uint64_t MonotonicMicroseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000000 +
         static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

}  // namespace

ServiceManager::ServiceManager() {
  char** names = nullptr;
  constexpr int kUnsetVariables = 1;
  const int count = sd_listen_fds_with_names(kUnsetVariables, &names);
  if (count < 0) {
    WriteLog(kFailureLevel, fmt::format("cannot take descriptors over: {}", std::strerror(-count)));
  }
  for (int i = 0; i < count; ++i) {
    Sort(names[i], SocketDescriptor(SD_LISTEN_FDS_START + i));
    std::free(names[i]);
  }
  std::free(names);
  std::uint64_t microseconds = 0;
  if (sd_watchdog_enabled(kUnsetVariables, &microseconds) > 0) {
    watchdog_ = std::chrono::microseconds(microseconds);
  }
}

void ServiceManager::Sort(const std::string& name, SocketDescriptor fd) {
  if (const auto group = GroupIn(name); group && !log_groups_.contains(*group)) {
    log_groups_.emplace(*group, std::move(fd));
  } else if (Listens(fd.get()) && name == kMetrics && !metrics_) {
    metrics_ = std::move(fd);
  } else if (Listens(fd.get()) && sd_is_socket(fd.get(), AF_UNIX, SOCK_STREAM, 1) > 0 && !query_) {
    query_ = std::move(fd);
  } else {
    WriteLog(kFailureLevel,
             fmt::format("closing descriptor '{}', which is neither a socket for queries, nor "
                         "one for metrics, nor a log group's",
                         name));
  }
}

std::optional<SocketDescriptor> ServiceManager::Take(std::optional<SocketDescriptor>* from) {
  return std::exchange(*from, std::nullopt);
}

std::optional<SocketDescriptor> ServiceManager::TakeQuerySocket() { return Take(&query_); }

std::optional<SocketDescriptor> ServiceManager::TakeMetricsSocket() { return Take(&metrics_); }

std::optional<SocketDescriptor> ServiceManager::TakeLogGroup(std::uint16_t group) {
  const auto found = log_groups_.find(group);
  if (found == log_groups_.end()) {
    return std::nullopt;
  }
  SocketDescriptor fd = std::move(found->second);
  log_groups_.erase(found);
  return fd;
}

void ServiceManager::DropTheRest() {
  for (const auto& [group, fd] : log_groups_) {
    WriteLog(kNoticeLevel,
             fmt::format("log group {} was kept for us and is read no longer", group));
    ForgetLogGroup(group);
  }
  log_groups_.clear();
  query_.reset();
  metrics_.reset();
}

// Whoever polls the socket sees an error when its buffer was full once; that is no reason to drop
// it.
void ServiceManager::StoreLogGroup(std::uint16_t group, int fd) {
  const std::string text = fmt::format("FDSTORE=1\nFDNAME={}{}\nFDPOLL=0", kLogGroup, group);
  const int result = sd_pid_notify_with_fds(0, kKeepVariables, text.c_str(), &fd, 1);
  if (result < 0) {
    WriteLog(kFailureLevel, fmt::format("cannot have the service manager keep log group {}: {}",
                                        group, std::strerror(-result)));
  }
}

void ServiceManager::ForgetLogGroup(std::uint16_t group) {
  Notify(fmt::format("FDSTOREREMOVE=1\nFDNAME={}{}", kLogGroup, group));
}

void ServiceManager::Ready(std::string_view status) {
  Notify(fmt::format("READY=1\nSTATUS={}", status));
}

void ServiceManager::Reloading() {
  Notify(fmt::format("RELOADING=1\nMONOTONIC_USEC={}", MonotonicMicroseconds()));
}

void ServiceManager::Stopping() { Notify("STOPPING=1\nSTATUS=Stopping"); }

void ServiceManager::Status(std::string_view status) { Notify(fmt::format("STATUS={}", status)); }

void ServiceManager::FeedWatchdog() { Notify("WATCHDOG=1"); }

}  // namespace packetdb::host
