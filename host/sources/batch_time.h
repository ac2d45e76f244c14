// When a batch of packets was received. Clocks are read once for all of it.
#pragma once

#include <chrono>

#include "host/sources/event.h"

namespace packetdb::host {

struct BatchTime {
  PacketTime wall;                               // of packets that come without a time
  std::chrono::steady_clock::time_point steady;  // of what has to be done now and then
};

BatchTime ReadBatchTime();

}  // namespace packetdb::host
