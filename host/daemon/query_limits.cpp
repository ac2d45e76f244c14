#include "host/daemon/query_limits.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <sys/resource.h>

#include "host/log/log.h"

namespace packetdb::host {

namespace {

constexpr rlim_t kKibi = 1024;

void SetLimit(int resource, const rlimit& limit, const char* what) {
  if (setrlimit(static_cast<__rlimit_resource_t>(resource), &limit) != 0) {
    WriteLog(kFailureLevel, fmt::format("cannot limit {}: {}", what, std::strerror(errno)));
  }
}

}  // namespace

Timeouts TimeoutsOf(const LimitSettings& limits) {
  Timeouts timeouts;
  timeouts.wait = std::chrono::seconds(limits.idle_seconds);
  timeouts.frame = std::chrono::seconds(limits.header_seconds);
  timeouts.message = std::chrono::seconds(limits.header_seconds);
  timeouts.send = std::chrono::seconds(limits.stalled_seconds);
  return timeouts;
}

RequestLimits RequestLimitsOf(const LimitSettings& limits) {
  return {.columns = static_cast<std::size_t>(limits.columns)};
}

std::size_t LongestRequest(const LimitSettings& limits) {
  return static_cast<std::size_t>(limits.message_kib) * kKibi;
}

// What is mapped from journals is not meant: it is shared, and may be larger than any sensible
// limit.
void LimitMemory(int mebibytes) {
  if (mebibytes == 0) {
    return;
  }
  const rlim_t bytes = static_cast<rlim_t>(mebibytes) * kKibi * kKibi;
  SetLimit(RLIMIT_DATA, {bytes, bytes}, "memory");
}

// The system counts from the start of the process, in whole seconds.
void LimitWork(int seconds) {
  rusage used{};
  rlimit limit{};
  if (getrusage(RUSAGE_SELF, &used) != 0 || getrlimit(RLIMIT_CPU, &limit) != 0) {
    WriteLog(kFailureLevel, fmt::format("cannot limit time: {}", std::strerror(errno)));
    return;
  }
  const auto so_far = static_cast<rlim_t>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) + 1;
  limit.rlim_cur = std::min(limit.rlim_max, so_far + static_cast<rlim_t>(seconds));
  SetLimit(RLIMIT_CPU, limit, "time");
}

unsigned int RowLimitFor(const LimitSettings& limits, const Connection& connection) {
  const auto peer = connection.Peer();
  return peer && peer->uid == 0 ? 0 : static_cast<unsigned int>(limits.rows);
}

}  // namespace packetdb::host
