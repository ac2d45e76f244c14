#include "host/daemon/server.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "host/daemon/serve_client.h"
#include "host/log/log.h"

namespace packetdb::host {

namespace {

Timeouts TimeoutsOf(const DaemonOptions& options) {
  Timeouts timeouts;
  timeouts.wait = std::chrono::seconds(options.idle_seconds);
  return timeouts;
}

}  // namespace

Server::Server(const DaemonOptions& options, Listener& listener, Signals& signals)
    : options_(options), listener_(listener), signals_(signals) {}

void Server::Run() {
  for (bool stopping = false; !stopping;) {
    bool connection_waits = false;
    bool signal_waits = false;
    AwaitEvent(&connection_waits, &signal_waits);
    if (signal_waits) {
      stopping = HandleSignals();
    }
    if (connection_waits && !stopping) {
      AcceptOne();
    }
  }
  StopChildren();
}

// While as many connections as allowed are served, more of them wait in the socket's queue.
void Server::AwaitEvent(bool* connection_waits, bool* signal_waits) const {
  pollfd waited[] = {{signals_.fd(), POLLIN, 0}, {IsFull() ? -1 : listener_.fd(), POLLIN, 0}};
  if (poll(waited, 2, -1) < 0 && errno != EINTR) {
    throw std::system_error(errno, std::generic_category(), "cannot wait for connections");
  }
  *signal_waits = waited[0].revents != 0;
  *connection_waits = waited[1].revents != 0;
}

// True when one of them asks to stop.
bool Server::HandleSignals() {
  bool stop = false;
  while (const auto signal = signals_.Next()) {
    switch (*signal) {
      case SIGCHLD:
        ReapChildren();
        break;
      case SIGUSR1:
      case SIGUSR2:
        SetLogLevel(LogLevel() + (*signal == SIGUSR1 ? 1 : -1));
        WriteLog(1, fmt::format("log level {}", LogLevel()));
        break;
      default:
        WriteLog(2, fmt::format("stopping on {}", strsignal(*signal)));
        stop = true;
    }
  }
  return stop;
}

void Server::AcceptOne() {
  BusFailure failure;
  const auto connection = listener_.Accept(TimeoutsOf(options_), &failure);
  if (connection != nullptr) {
    Fork(*connection);
  } else if (failure.code != BusError::kNothingToAccept) {
    WriteLog(1, fmt::format("cannot accept a connection: {}", failure.text));
    sleep(1);  // out of descriptors or memory: what is being served will give some back
  }
}

void Server::Fork(Connection& connection) {
  const pid_t child = fork();
  if (child == 0) {
    BeChild(connection);
  }
  if (child < 0) {
    WriteLog(1, fmt::format("cannot serve a connection: {}", std::strerror(errno)));
    return;
  }
  children_.insert(child);
}

void Server::BeChild(Connection& connection) {
  // Gone with the parent, even when that is killed: nobody else would end us.
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  listener_.Abandon();
  signals_.BeChild();
  ServeClient(connection, options_);
  _exit(0);  // the parent's objects are the parent's to clean up
}

void Server::ReapChildren() {
  int status = 0;
  for (pid_t child = waitpid(-1, &status, WNOHANG); child > 0;
       child = waitpid(-1, &status, WNOHANG)) {
    children_.erase(child);
    if (WIFSIGNALED(status)) {
      WriteLog(1, fmt::format("the process {} of a connection died: {}", child,
                              strsignal(WTERMSIG(status))));
    }
  }
}

void Server::StopChildren() {
  for (const pid_t child : children_) {
    kill(child, SIGTERM);
  }
  for (const pid_t child : children_) {
    waitpid(child, nullptr, 0);
  }
}

bool Server::IsFull() const {
  return children_.size() >= static_cast<std::size_t>(options_.max_connections);
}

}  // namespace packetdb::host
