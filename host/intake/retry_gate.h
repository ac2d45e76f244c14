// Keeps what failed from being tried again with each of thousands of events a second.
#pragma once

#include <cstdint>

namespace packetdb::host {

// Times are those of the events, in seconds.
class RetryGate {
 public:
  bool IsShut(std::int64_t now) const { return failed_ && failed_at_ == now; }
  void ShutAt(std::int64_t now) {
    failed_ = true;
    failed_at_ = now;
  }

 private:
  bool failed_ = false;
  std::int64_t failed_at_ = 0;
};

}  // namespace packetdb::host
