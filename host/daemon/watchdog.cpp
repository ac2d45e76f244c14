#include "host/daemon/watchdog.h"

#include <algorithm>

namespace packetdb::host {

namespace {

// Looks per time that the service manager waits; and turns of the loop per look, so that a loop
// that turns is never taken for one that does not.
constexpr int kLooks = 3;
constexpr int kTurns = 2;

constexpr std::chrono::milliseconds kLongestBeat(1000);
constexpr std::chrono::milliseconds kShortestBeat(1);

}  // namespace

Watchdog::Watchdog(std::chrono::microseconds patience, Clock::time_point now)
    : interval_(patience / kLooks), due_(now) {}

bool Watchdog::Look(Clock::time_point now, std::uint64_t beats) {
  due_ = now + interval_;
  const bool turned = beats != seen_;
  seen_ = beats;
  return turned;
}

std::chrono::milliseconds Watchdog::beat() const {
  const auto wanted = std::chrono::duration_cast<std::chrono::milliseconds>(interval_ / kTurns);
  return std::clamp(wanted, kShortestBeat, kLongestBeat);
}

}  // namespace packetdb::host
