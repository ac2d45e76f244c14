// One line a minute about connections that are refused, however many there are.
#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>

namespace packetdb::host {

class RefusalLog {
 public:
  using Clock = std::chrono::steady_clock;

  // Counts a refusal and writes a line at level 2, unless one was written less than a minute ago:
  // "refused 3 connections, the last one: REASON".
  void Tell(Clock::time_point now, std::string_view reason);

 private:
  std::uint64_t untold_ = 0;
  Clock::time_point next_line_ = Clock::time_point::min();
};

}  // namespace packetdb::host
