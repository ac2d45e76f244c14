// The address of a Unix stream socket.
#pragma once

#include <string>
#include <sys/socket.h>
#include <sys/un.h>

#include "host/bus/error.h"

namespace packetdb::host {

// The longest path of a socket: the system keeps it with a NUL in 108 bytes.
inline constexpr std::size_t kMaxSocketPath = sizeof(sockaddr_un::sun_path) - 1;

class SocketAddress {
 public:
  // kBadPath or kPathTooLong for a path that no socket can have, else kNone.
  static BusError Check(const std::string& path);

  // The path has passed Check.
  explicit SocketAddress(const std::string& path);

  const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&address_); }
  socklen_t Size() const { return sizeof address_; }

 private:
  sockaddr_un address_;
};

// A new stream socket, closed on exec; -1 with errno set on failure. `flags` is 0 or SOCK_NONBLOCK.
int NewStreamSocket(int flags);

// Whether there is something at the path, and it is no socket.
bool IsOtherThanSocket(const std::string& path);

}  // namespace packetdb::host
