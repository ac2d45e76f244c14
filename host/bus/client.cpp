#include "host/bus/client.h"

#include <algorithm>
#include <cerrno>
#include <sys/time.h>
#include <utility>

#include "host/bus/socket_address.h"

namespace packetdb::host {
namespace {

// On a blocking socket the send timeout bounds connect as well.
bool SetConnectLimit(int fd, std::chrono::milliseconds limit) {
  if (limit == kNoLimit) return true;
  // 0 would mean no limit.
  const auto ms = std::max<long>(limit.count(), 1);
  const timeval time{ms / 1000, ms % 1000 * 1000};
  return setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time) == 0;
}

int ConnectUninterrupted(int fd, const SocketAddress& address) {
  int result = connect(fd, address.Get(), address.Size());
  // An interrupted connect to a local socket has done nothing and is repeated.
  while (result != 0 && errno == EINTR) result = connect(fd, address.Get(), address.Size());
  return result;
}

BusFailure ConnectFailure(int error, const std::string& path) {
  // The system calls a file that is no socket one where nobody listens.
  if (error == ECONNREFUSED && IsOtherThanSocket(path)) {
    return MakeFailure(BusError::kNotASocket, path);
  }
  return MakeSystemFailure(error, path);
}

}  // namespace

std::unique_ptr<Connection> ConnectTo(const std::string& path, const Timeouts& timeouts,
                                      BusFailure* failure) {
  const BusError bad_path = SocketAddress::Check(path);
  if (bad_path != BusError::kNone) {
    *failure = MakeFailure(bad_path, path);
    return nullptr;
  }
  SocketDescriptor socket(NewStreamSocket(0));
  if (!socket.valid() || !SetConnectLimit(socket.get(), timeouts.connect) ||
      ConnectUninterrupted(socket.get(), SocketAddress(path)) != 0) {
    *failure = ConnectFailure(errno, path);
    return nullptr;
  }
  return std::make_unique<Connection>(std::move(socket), timeouts);
}

}  // namespace packetdb::host
