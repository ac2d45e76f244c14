// The client's way to a server.
#pragma once

#include <memory>
#include <string>

#include "host/bus/connection.h"

namespace packetdb::host {

// Connects to the stream socket at `path`. Returns null with the reason in `failure` when that is
// not possible: kBadPath, kPathTooLong, kNoSuchSocket, kNotASocket, kRefused (nobody listens),
// kNotPermitted, kTimedOut (the server's queue stayed full for Timeouts::connect), kTooManyFiles,
// kSystem. On success `failure` is left as it is.
std::unique_ptr<Connection> ConnectTo(const std::string& path, const Timeouts& timeouts,
                                      BusFailure* failure);

}  // namespace packetdb::host
