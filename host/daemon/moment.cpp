#include "host/daemon/moment.h"

#include <ctime>

namespace packetdb::host {

Moment Now() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return {now.tv_sec, static_cast<std::uint32_t>(now.tv_nsec)};
}

Moment operator+(const Moment& moment, std::chrono::milliseconds later) {
  constexpr std::int64_t kSecond = 1000000000;
  const std::int64_t nanoseconds = moment.nanoseconds + std::chrono::nanoseconds(later).count();
  return {moment.seconds + nanoseconds / kSecond,
          static_cast<std::uint32_t>(nanoseconds % kSecond)};
}

}  // namespace packetdb::host
