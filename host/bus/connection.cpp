#include "host/bus/connection.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace packetdb::host {

Connection::Connection(SocketDescriptor socket, const Timeouts& timeouts)
    : socket_(std::move(socket)), timeouts_(timeouts), message_deadline_(kNoLimit) {
  const int flags = fcntl(fd(), F_GETFL);
  if (flags < 0 || fcntl(fd(), F_SETFL, flags | O_NONBLOCK) < 0) {
    FailSystem(errno, "making the socket non-blocking");
  }
}

bool Connection::Fail(BusError code, std::string_view detail) {
  if (sound()) failure_ = MakeFailure(code, detail);
  return false;
}

bool Connection::FailSystem(int error, std::string_view detail) {
  if (sound()) failure_ = MakeSystemFailure(error, detail);
  return false;
}

bool Connection::AwaitEvent(short events, Deadline* deadline, std::string_view detail) {
  pollfd waiting{fd(), events, 0};
  for (;;) {
    const int remaining = deadline->RemainingForPoll();
    if (remaining == 0) return Fail(BusError::kTimedOut, detail);
    const int ready = poll(&waiting, 1, remaining);
    // Whatever it is that poll reports, an error included, the caller's next attempt meets it.
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR && errno != EAGAIN) return FailSystem(errno, detail);
  }
}

std::optional<PeerCredentials> Connection::Peer() const {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  if (getsockopt(fd(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return std::nullopt;
  if (credentials.pid == 0 && credentials.uid == static_cast<uid_t>(-1)) return std::nullopt;
  return PeerCredentials{credentials.pid, credentials.uid, credentials.gid};
}

}  // namespace packetdb::host
