// The end of a wait.
#pragma once

#include <algorithm>
#include <chrono>
#include <limits>
#include <optional>

namespace packetdb::host {

inline constexpr std::chrono::milliseconds kNoLimit = std::chrono::milliseconds::max();

// Runs from the first question for what is left, so that a wait which turns out to be unnecessary
// costs no look at the clock.
class Deadline {
 public:
  // One that lies within another, which outlives it, ends with that at the latest.
  explicit Deadline(std::chrono::milliseconds limit, Deadline* outer = nullptr)
      : limit_(limit), outer_(outer) {}

  // What is left for poll(): -1 without limit, 0 when the time is over, else milliseconds, rounded
  // up so that a wait never ends early and spins.
  int RemainingForPoll() {
    const int own = OwnRemaining();
    const int outer = outer_ == nullptr ? -1 : outer_->RemainingForPoll();
    return own < 0 || outer < 0 ? std::max(own, outer) : std::min(own, outer);
  }

 private:
  int OwnRemaining() {
    using std::chrono::milliseconds;
    if (limit_ == kNoLimit) return -1;
    const auto now = std::chrono::steady_clock::now();
    if (!end_) end_ = now + std::min(limit_, milliseconds(std::numeric_limits<int>::max()));
    if (*end_ <= now) return 0;
    return static_cast<int>(std::min<long long>(
        std::chrono::ceil<milliseconds>(*end_ - now).count(), std::numeric_limits<int>::max()));
  }

  std::chrono::milliseconds limit_;
  Deadline* outer_;
  std::optional<std::chrono::steady_clock::time_point> end_;
};

}  // namespace packetdb::host
