// Whether the service manager's watchdog is to be fed: only while the loop that counts turns.
#pragma once

#include <chrono>
#include <cstdint>

namespace packetdb::host {

class Watchdog {
 public:
  using Clock = std::chrono::steady_clock;

  // The service manager waits so long for being fed.
  Watchdog(std::chrono::microseconds patience, Clock::time_point now);

  // When to look next.
  Clock::time_point due() const { return due_; }
  // At or after due(): whether to feed. `beats` counts the turns of the loop.
  bool Look(Clock::time_point now, std::uint64_t beats);
  // At or after due(), while the loop is known to stand still for a good reason: feed all the same.
  void Excuse(Clock::time_point now) { due_ = now + interval_; }
  // At least how often the loop has to turn for that.
  std::chrono::milliseconds beat() const;

 private:
  std::chrono::microseconds interval_;
  Clock::time_point due_;
  std::uint64_t seen_ = 0;
};

}  // namespace packetdb::host
