// Keeps two servers that start at the same time from removing each other's socket.
#pragma once

#include <string>

#include "host/bus/error.h"
#include "host/bus/socket_descriptor.h"

namespace packetdb::host {

// Locks the directory of a path itself, so that no lock file stays behind. The lock ends with the
// object.
class DirectoryLock {
 public:
  // Waits up to two seconds for another holder. Failures: kNoSuchSocket (there is no such
  // directory), kNotPermitted, kDirectoryBusy, kSystem.
  bool Acquire(const std::string& path, BusFailure* failure);

 private:
  SocketDescriptor directory_;
};

}  // namespace packetdb::host
