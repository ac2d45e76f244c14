// A clock that tests set by hand. It answers the plain libc calls `time`, `gettimeofday` and
// `getpid` of the whole test executable.
#pragma once

#include <cstdint>
#include <ctime>
#include <deque>
#include <initializer_list>
#include <sys/time.h>

namespace packetdb::test {

// While nothing is set, the real clock answers and no call is noted in Calls().
class ManualClock {
 public:
  // From now on `time` and `gettimeofday` answer this and every call is noted.
  void Set(std::int64_t unix_seconds, int microseconds = 0);
  // The same in seconds since 1980-01-01.
  void SetSince1980(std::int64_t seconds) { Set(seconds + 315532800); }
  // The next readings of `gettimeofday`, one each, before it answers the set time again.
  void QueueReadings(std::initializer_list<timeval> readings);
  void Reset() { *this = ManualClock(); }

  // For the libc calls.
  bool IsSet() const { return set_; }
  std::time_t Seconds() const { return now_.tv_sec; }
  timeval Reading();

 private:
  bool set_ = false;
  timeval now_{};
  std::deque<timeval> readings_;
};

ManualClock& Clock();

}  // namespace packetdb::test
