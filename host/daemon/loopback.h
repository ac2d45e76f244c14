// A listening TCP socket that only this machine can reach.
#pragma once

#include <cstdint>
#include <memory>

#include "host/bus/listener.h"

namespace packetdb::host {

// At 127.0.0.1. Throws std::runtime_error.
std::shared_ptr<Listener> ListenOnLoopback(std::uint16_t port);

}  // namespace packetdb::host
