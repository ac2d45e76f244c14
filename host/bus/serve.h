// Serves the requests of one connection, one after the other.
#pragma once

#include <cstdint>
#include <functional>

#include "host/bus/columns.h"
#include "host/bus/connection.h"
#include "host/bus/dispatcher.h"

namespace packetdb::host {

struct ServeResult {
  // Why serving ended. kPeerClosed is the orderly end: the client closed between two exchanges.
  BusFailure end;
  std::uint64_t commands = 0;  // dispatched, whatever their outcome
};

// What a request may have, within what the protocol allows; one that has more ends the connection.
struct RequestLimits {
  std::size_t columns = kMaxColumns;
};

// Told of every command after it was dispatched, for logs and counters. What it throws ends the
// serving and comes out of ServeConnection.
using CommandObserver = std::function<void(const CommandReport&)>;

// Returns when the connection is of no further use: the client is gone, too slow, or sent what is
// no request. Such a client gets no reply; the caller drops the connection and logs the reason.
ServeResult ServeConnection(Connection& connection, Dispatcher& dispatcher,
                            const CommandObserver& observer = {}, const RequestLimits& limits = {});

}  // namespace packetdb::host
