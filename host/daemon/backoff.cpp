#include "host/daemon/backoff.h"

#include <algorithm>

namespace packetdb::host {

namespace {

constexpr std::chrono::seconds kFirst(1);
constexpr std::chrono::seconds kLongest(60);
constexpr std::chrono::seconds kHealthy(60);

}  // namespace

Backoff::Clock::time_point Backoff::NextStart(Clock::time_point started, Clock::time_point died) {
  if (died - started >= kHealthy) {
    wait_ = std::chrono::seconds(0);
  }
  const auto next = died + wait_;
  wait_ = wait_.count() == 0 ? kFirst : std::min(2 * wait_, kLongest);
  return next;
}

}  // namespace packetdb::host
