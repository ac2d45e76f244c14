#include "tests/support/clock.h"

#include <sys/syscall.h>
#include <unistd.h>

#include "tests/support/allocation.h"
#include "tests/support/calls.h"

namespace packetdb::test {

ManualClock& Clock() {
  static ManualClock clock;
  return clock;
}

void ManualClock::Set(std::int64_t unix_seconds, int microseconds) {
  set_ = true;
  now_.tv_sec = unix_seconds;
  now_.tv_usec = microseconds;
}

void ManualClock::QueueReadings(std::initializer_list<timeval> readings) {
  readings_.insert(readings_.end(), readings.begin(), readings.end());
}

timeval ManualClock::Reading() {
  if (readings_.empty()) return now_;
  const timeval reading = readings_.front();
  readings_.pop_front();
  return reading;
}

namespace {

timespec RealTime() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now;
}

}  // namespace

}  // namespace packetdb::test

// The definitions in an executable go before those of libc, for shared libraries as well. libc's
// own headers name the parameters with identifiers that are reserved to it.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): ours are called otherwise

extern "C" time_t time(time_t* out) noexcept {
  const packetdb::test::HostMemory host;
  auto& clock = packetdb::test::Clock();
  if (clock.IsSet()) packetdb::test::Calls().Note("time()");
  const time_t now = clock.IsSet() ? clock.Seconds() : packetdb::test::RealTime().tv_sec;
  if (out != nullptr) *out = now;
  return now;
}

extern "C" int gettimeofday(timeval* out, void* /*zone*/) noexcept {
  const packetdb::test::HostMemory host;
  auto& clock = packetdb::test::Clock();
  if (clock.IsSet()) {
    packetdb::test::Calls().Note("gettimeofday()");
    *out = clock.Reading();
    return 0;
  }
  const timespec now = packetdb::test::RealTime();
  *out = timeval{now.tv_sec, now.tv_nsec / 1000};
  return 0;
}

extern "C" pid_t getpid() noexcept {
  const packetdb::test::HostMemory host;
  if (packetdb::test::Clock().IsSet()) packetdb::test::Calls().Note("getpid()");
  return static_cast<pid_t>(syscall(SYS_getpid));
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
