#include "host/cli/import_clock.h"

#include <ctime>
#include <optional>

namespace packetdb::host {

namespace {

std::optional<std::time_t> g_import_clock;

std::time_t CalendarTime() {
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec;
}

}  // namespace

void SetImportClock(std::int64_t unix_seconds) { g_import_clock = unix_seconds; }

void ReleaseImportClock() { g_import_clock.reset(); }

std::time_t ImportClock() { return g_import_clock ? *g_import_clock : CalendarTime(); }

}  // namespace packetdb::host

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc's name is reserved
extern "C" std::time_t time(std::time_t* out) noexcept {
  const std::time_t now = packetdb::host::ImportClock();
  if (out != nullptr) {
    *out = now;
  }
  return now;
}
