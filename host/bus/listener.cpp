#include "host/bus/listener.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "host/bus/directory_lock.h"
#include "host/bus/socket_address.h"

namespace packetdb::host {
namespace {

// Whether somebody serves the socket at the path. Connecting is the only way to know.
BusError ProbeSocket(const std::string& path) {
  const SocketDescriptor probe(NewStreamSocket(SOCK_NONBLOCK));
  if (!probe.valid()) return FromErrno(errno);
  const SocketAddress address(path);
  if (connect(probe.get(), address.Get(), address.Size()) == 0) return BusError::kAlreadyServed;
  // A full queue has an owner too.
  return errno == EAGAIN ? BusError::kAlreadyServed : FromErrno(errno);
}

bool SameFile(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

// Errors that concern one connection, or none at all, and not the listener.
bool IsTransient(int error) {
  return error == EAGAIN || error == EINTR || error == ECONNABORTED || error == EPROTO;
}

}  // namespace

Listener::Listener(const ListenOptions& options) : options_(options), owner_(getpid()) {}

Listener::~Listener() {
  // While the socket still listens nobody takes it for stale, so nobody replaces it in between.
  if (socket_.valid() && owner_ == getpid() && OwnsPath()) unlink(options_.path.c_str());
}

std::unique_ptr<Listener> Listener::Open(const ListenOptions& options, BusFailure* failure) {
  const BusError bad_path = SocketAddress::Check(options.path);
  if (bad_path != BusError::kNone) {
    *failure = MakeFailure(bad_path, options.path);
    return nullptr;
  }
  std::unique_ptr<Listener> listener(new Listener(options));
  return listener->Create(failure) ? std::move(listener) : nullptr;
}

std::unique_ptr<Listener> Listener::Adopt(SocketDescriptor socket, const std::string& name) {
  ListenOptions options;
  options.path = name;
  std::unique_ptr<Listener> listener(new Listener(options));
  listener->socket_ = std::move(socket);
  const int fd = listener->fd();
  // Accepting must never block, whatever its maker thought.
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
  return listener;
}

bool Listener::Create(BusFailure* failure) {
  DirectoryLock lock;  // until the socket listens, it looks like a stale one
  if (!lock.Acquire(options_.path, failure) || !RemoveStale(failure)) return false;
  socket_ = SocketDescriptor(NewStreamSocket(SOCK_NONBLOCK));
  if (!socket_.valid()) return FailSystem(failure);
  return Bind(failure);
}

bool Listener::RemoveStale(BusFailure* failure) {
  struct stat status;
  if (lstat(options_.path.c_str(), &status) != 0) {
    return errno == ENOENT || FailSystem(failure);
  }
  const BusError found =
      S_ISSOCK(status.st_mode) ? ProbeSocket(options_.path) : BusError::kNotASocket;
  if (found != BusError::kRefused) {
    *failure = MakeFailure(found, options_.path);
    return false;
  }
  return unlink(options_.path.c_str()) == 0 || FailSystem(failure);
}

bool Listener::Bind(BusFailure* failure) {
  const SocketAddress address(options_.path);
  const char* path = options_.path.c_str();
  if (bind(socket_.get(), address.Get(), address.Size()) != 0) return FailSystem(failure);
  if (lstat(path, &created_) != 0) return FailSystem(failure);
  // Nobody can connect before listen, so the mode is in force before the first connection.
  if (!ApplyAccess(failure)) return false;
  return listen(socket_.get(), options_.backlog) == 0 || FailSystem(failure);
}

bool Listener::ApplyAccess(BusFailure* failure) const {
  const char* path = options_.path.c_str();
  if (options_.group && lchown(path, static_cast<uid_t>(-1), *options_.group) != 0) {
    return FailSystem(failure);
  }
  return chmod(path, options_.mode) == 0 || FailSystem(failure);
}

bool Listener::OwnsPath() const {
  struct stat status;
  return created_.st_ino != 0 && lstat(options_.path.c_str(), &status) == 0 &&
         SameFile(status, created_);
}

bool Listener::FailSystem(BusFailure* failure) const {
  *failure = MakeSystemFailure(errno, options_.path);
  return false;
}

std::unique_ptr<Connection> Listener::Accept(const Timeouts& timeouts, BusFailure* failure) {
  SocketDescriptor accepted = AcceptSocket(failure);
  return accepted.valid() ? std::make_unique<Connection>(std::move(accepted), timeouts) : nullptr;
}

SocketDescriptor Listener::AcceptSocket(BusFailure* failure) {
  SocketDescriptor accepted(accept4(socket_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (accepted.valid()) return accepted;
  const bool transient = IsTransient(errno);
  *failure =
      transient ? MakeFailure(BusError::kNothingToAccept) : MakeSystemFailure(errno, options_.path);
  return accepted;
}

void Listener::Abandon() { socket_.Close(); }

}  // namespace packetdb::host
