#include "host/bus/socket_address.h"

#include <cstring>
#include <sys/stat.h>

namespace packetdb::host {

BusError SocketAddress::Check(const std::string& path) {
  if (path.empty() || path.find('\0') != std::string::npos) return BusError::kBadPath;
  return path.size() > kMaxSocketPath ? BusError::kPathTooLong : BusError::kNone;
}

SocketAddress::SocketAddress(const std::string& path) : address_{} {
  address_.sun_family = AF_UNIX;
  std::memcpy(address_.sun_path, path.data(), path.size());
}

int NewStreamSocket(int flags) { return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0); }

bool IsOtherThanSocket(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && !S_ISSOCK(status.st_mode);
}

}  // namespace packetdb::host
