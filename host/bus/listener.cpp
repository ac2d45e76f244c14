#include "host/bus/listener.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
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

// Of the very file that is open, whatever its name has come to mean.
bool ChangeMode(int fd, mode_t mode) {
  // Where a descriptor was opened for its place only, fchmod does not take it.
  const std::string itself = "/proc/self/fd/" + std::to_string(fd);
  return chmod(itself.c_str(), mode) == 0;
}

bool ChangeGroup(int fd, gid_t group) {
  constexpr auto kSameOwner = static_cast<uid_t>(-1);
  return fchownat(fd, "", kSameOwner, group, AT_EMPTY_PATH) == 0;
}

// Whether it can be the socket that was made a moment ago, and not another file of ours that
// somebody gave this name.
bool CanBeNew(const struct stat& status) {
  return S_ISSOCK(status.st_mode) && status.st_uid == geteuid() && status.st_nlink == 1;
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
  if (bind(socket_.get(), address.Get(), address.Size()) != 0) return FailSystem(failure);
  constexpr int kPlaceOnly = O_PATH | O_NOFOLLOW | O_CLOEXEC;
  const SocketDescriptor named(open(options_.path.c_str(), kPlaceOnly));
  if (!named.valid() || fstat(named.get(), &created_) != 0) return FailSystem(failure);
  if (!CanBeNew(created_)) {
    created_ = {};
    *failure = MakeFailure(BusError::kNotASocket, options_.path);
    return false;
  }
  // Nobody can connect before listen, so the mode is in force before the first connection.
  if (!ApplyAccess(named.get())) return FailSystem(failure);
  return listen(socket_.get(), options_.backlog) == 0 || FailSystem(failure);
}

bool Listener::ApplyAccess(int named) const {
  return (!options_.group || ChangeGroup(named, *options_.group)) &&
         ChangeMode(named, options_.mode);
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
