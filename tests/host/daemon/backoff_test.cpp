// When a process that died is started again.
#include "host/daemon/backoff.h"

#include <gtest/gtest.h>
#include <vector>

namespace packetdb::host {
namespace {

using std::chrono::seconds;

// How long is waited after each of these lives, one after the other.
std::vector<long> WaitsAfter(Backoff& backoff, const std::vector<long>& lives) {
  std::vector<long> waits;
  Backoff::Clock::time_point now{};
  for (const long life : lives) {
    const auto died = now + seconds(life);
    now = backoff.NextStart(now, died);
    waits.push_back(std::chrono::duration_cast<seconds>(now - died).count());
  }
  return waits;
}

TEST(BackoffTest, IsNoneTheFirstTimeAndDoublesUpToAMinute) {
  Backoff backoff;
  EXPECT_EQ(WaitsAfter(backoff, std::vector<long>(10, 0)),
            (std::vector<long>{0, 1, 2, 4, 8, 16, 32, 60, 60, 60}));
}

TEST(BackoffTest, BeginsAnewAfterAMinuteOfHealth) {
  Backoff backoff;
  EXPECT_EQ(WaitsAfter(backoff, {0, 59, 0, 60, 0, 0}), (std::vector<long>{0, 1, 2, 0, 1, 2}));
}

}  // namespace
}  // namespace packetdb::host
