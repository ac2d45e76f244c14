#include "host/daemon/server.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "host/daemon/query_limits.h"
#include "host/daemon/serve_client.h"
#include "host/log/log.h"
#include "host/status/serve_metrics.h"

namespace packetdb::host {

namespace {

// Collectors of metrics come one at a time, every few seconds.
constexpr std::size_t kMostMetrics = 4;

constexpr int kPause = 100;  // milliseconds

SocketDescriptor Reserve() { return SocketDescriptor(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)); }

}  // namespace

Server::Server(const Parts& parts) : parts_(parts) {}

void Server::Run() {
  reserve_ = Reserve();
  while (phase_ == Phase::kServing ||
         (phase_ == Phase::kHandingOver && parts_.admission.open() != 0)) {
    Turn();
  }
  StopChildren();
}

// While as many connections as allowed are served, more of them wait in the socket's queue.
void Server::Turn() {
  const bool serving = phase_ == Phase::kServing;
  const bool full = parts_.admission.IsFull();
  const bool metrics_full = metrics_processes_.size() >= kMostMetrics;
  std::vector<pollfd> waited = {{parts_.signals.fd(), POLLIN, 0},
                                {serving && !full ? parts_.queries.fd() : -1, POLLIN, 0}};
  for (const Listener* listener : parts_.metrics) {
    waited.push_back({serving && !metrics_full ? listener->fd() : -1, POLLIN, 0});
  }
  const int ready = poll(waited.data(), waited.size(), static_cast<int>(parts_.beat.count()));
  parts_.page.daemon.query_beats.Add(1);
  if (ready < 0 && errno != EINTR) {
    throw std::system_error(errno, std::generic_category(), "cannot wait for connections");
  }
  if (ready <= 0) {
    return;
  }
  if (waited[0].revents != 0) {
    HandleSignals();
    return;  // what else is ready may not be wanted any more
  }
  if (waited[1].revents != 0) {
    AcceptQuery();
  }
  for (std::size_t i = 0; i < parts_.metrics.size(); ++i) {
    if (waited[i + 2].revents != 0) {
      AcceptMetrics(*parts_.metrics[i]);
    }
  }
}

void Server::HandleSignals() {
  while (const auto signal = parts_.signals.Next()) {
    if (*signal == SIGCHLD) {
      ReapChildren();
    } else if (*signal == SIGTERM) {
      phase_ = Phase::kStopping;
    } else if (phase_ == Phase::kServing) {
      phase_ = Phase::kHandingOver;
    }
  }
}

void Server::AcceptQuery() {
  BusFailure failure;
  const auto connection = parts_.queries.Accept(TimeoutsOf(parts_.configuration.limits), &failure);
  if (connection == nullptr) {
    AcceptFailed(failure, parts_.queries);
    return;
  }
  const auto peer = connection->Peer();
  const Admittance verdict = parts_.admission.Judge(peer ? std::optional(peer->uid) : std::nullopt);
  if (verdict == Admittance::kAdmitted) {
    Admit(*connection);
  } else {
    Refuse(verdict, *connection);
  }
}

void Server::Admit(Connection& connection) {
  const pid_t child = Fork();
  if (child == 0) {
    BeConnection();
    ServeClient(connection, parts_.configuration, parts_.page);
    _exit(0);  // the parent's objects are the parent's to clean up
  }
  if (child > 0) {
    const auto peer = connection.Peer();
    parts_.admission.Begin(child, peer ? std::optional(peer->uid) : std::nullopt);
    parts_.page.query.connections.Add(1);
    Publish();
  }
}

// Not a byte of what it sent was read.
void Server::Refuse(Admittance verdict, const Connection& connection) {
  const bool by_user = verdict == Admittance::kUserNotAllowed;
  (by_user ? parts_.page.query.refused_user : parts_.page.query.refused_limit).Add(1);
  const auto peer = connection.Peer();
  const std::string who =
      peer ? fmt::format("client (pid {}, uid {})", peer->pid, peer->uid) : "a client";
  refusals_.Tell(RefusalLog::Clock::now(),
                 fmt::format("{} {}", who,
                             by_user ? "is not an allowed user"
                                     : "has as many connections as a user may have"));
}

void Server::AcceptMetrics(Listener& listener) {
  BusFailure failure;
  const SocketDescriptor socket = listener.AcceptSocket(&failure);
  if (!socket.valid()) {
    AcceptFailed(failure, listener);
    return;
  }
  const pid_t child = Fork();
  if (child == 0) {
    BeConnection();
    LimitMemory(parts_.configuration.limits.memory_mib);
    LimitWork(parts_.configuration.limits.query_seconds);
    ServeMetrics(socket.get(), &parts_.page, parts_.configuration.directory);
    _exit(0);
  }
  if (child > 0) {
    metrics_processes_.insert(child);
  }
}

// Without a descriptor for it, a connection would wait and wake us for ever.
void Server::AcceptFailed(const BusFailure& failure, Listener& listener) {
  if (failure.code == BusError::kNothingToAccept) {
    return;
  }
  refusals_.Tell(RefusalLog::Clock::now(), failure.text);
  if (failure.code == BusError::kTooManyFiles) {
    reserve_.Close();
    BusFailure ignored;
    const bool taken = listener.AcceptSocket(&ignored).valid();
    reserve_ = Reserve();
    if (taken) {
      return;
    }
  }
  poll(nullptr, 0, kPause);  // what is being served will give something back
}

pid_t Server::Fork() {
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0) {
    // Gone with the parent, even when that is killed: nobody else would end us.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) {
      _exit(1);
    }
  } else if (child < 0) {
    refusals_.Tell(RefusalLog::Clock::now(),
                   fmt::format("cannot start a process: {}", std::strerror(errno)));
  }
  return child;
}

// In the child, before it reads the first byte.
void Server::BeConnection() const {
  parts_.queries.Abandon();
  for (Listener* listener : parts_.metrics) {
    listener->Abandon();
  }
  prctl(PR_SET_NAME, "packetdb-client");
  parts_.signals.BeChild();
  SetLogLevel(static_cast<int>(parts_.page.daemon.log_level.Get()));
  parts_.connection_sandbox.Enter();
}

void Server::ReapChildren() {
  int status = 0;
  for (pid_t child = waitpid(-1, &status, WNOHANG); child > 0;
       child = waitpid(-1, &status, WNOHANG)) {
    metrics_processes_.erase(child);
    parts_.admission.End(child);
    ReportDeath(child, status);
  }
  Publish();
}

void Server::ReportDeath(pid_t child, int status) {
  if (!WIFSIGNALED(status)) {
    return;
  }
  parts_.page.query.died.Add(1);
  if (WTERMSIG(status) == SIGXCPU) {
    WriteLog(kFailureLevel,
             fmt::format("the process {} of a connection was ended: a query took more than {} "
                         "seconds of work",
                         child, parts_.configuration.limits.query_seconds));
    return;
  }
  WriteLog(kFailureLevel, fmt::format("the process {} of a connection died: {}", child,
                                      strsignal(WTERMSIG(status))));
}

void Server::StopChildren() {
  std::set<pid_t> children = metrics_processes_;
  for (const auto& [child, user] : parts_.admission.processes()) {
    children.insert(child);
  }
  for (const pid_t child : children) {
    kill(child, SIGTERM);
  }
  for (const pid_t child : children) {
    waitpid(child, nullptr, 0);
  }
}

void Server::Publish() const { parts_.page.query.active.Set(parts_.admission.open()); }

}  // namespace packetdb::host
