#include "host/daemon/moment.h"

#include <ctime>

namespace packetdb::host {

Moment Now() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return {now.tv_sec, static_cast<std::uint32_t>(now.tv_nsec)};
}

}  // namespace packetdb::host
