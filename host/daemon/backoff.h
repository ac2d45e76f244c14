// How long to wait before a process that died is started again.
#pragma once

#include <chrono>

namespace packetdb::host {

class Backoff {
 public:
  using Clock = std::chrono::steady_clock;

  // When to start again what was started at `started` and died at `died`: at once the first time,
  // then after 1, 2, 4 ... 60 seconds. What lived a minute before counts as the first time.
  Clock::time_point NextStart(Clock::time_point started, Clock::time_point died);

 private:
  std::chrono::seconds wait_{0};
};

}  // namespace packetdb::host
