#include "host/sources/batch_time.h"

#include <ctime>

namespace packetdb::host {

BatchTime ReadBatchTime() {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  return {{now.tv_sec, static_cast<std::uint32_t>(now.tv_nsec)}, std::chrono::steady_clock::now()};
}

}  // namespace packetdb::host
