// Bytes on their way through a socket that a connection reads from.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "host/bus/socket_descriptor.h"
#include "host/bus/timeouts.h"

namespace packetdb::fuzz {

struct SocketPair {
  SocketPair();
  host::SocketDescriptor near;
  host::SocketDescriptor far;
};

// Nobody is waited for: what is to be read is there, or never comes.
host::Timeouts NoTimeAtAll();

// Puts as much into a socket as it takes at once; false when that is not all.
bool Send(const host::SocketDescriptor& socket, std::span<const std::uint8_t> bytes);

// All that has arrived.
std::vector<std::uint8_t> Receive(const host::SocketDescriptor& socket);

}  // namespace packetdb::fuzz
