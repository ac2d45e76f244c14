// How long a connection waits for its peer. kNoLimit waits for ever.
#pragma once

#include <chrono>

#include "host/bus/deadline.h"

namespace packetdb::host {

struct Timeouts {
  // For the first byte of an exchange: of the next request on the server's side, of the answer on
  // the client's. The work that the peer does before it speaks falls into this.
  std::chrono::milliseconds wait = std::chrono::seconds(60);
  // For one whole frame once it is due, however many bytes arrive in between.
  std::chrono::milliseconds frame = std::chrono::seconds(10);
  // For all frames that the peer sends in an exchange together, from the first byte of them.
  std::chrono::milliseconds message = kNoLimit;
  // For a peer that takes nothing of what is sent to it.
  std::chrono::milliseconds send = std::chrono::seconds(30);
  // For a place in the queue of a busy server.
  std::chrono::milliseconds connect = std::chrono::seconds(5);
};

}  // namespace packetdb::host
