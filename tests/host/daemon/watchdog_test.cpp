// When the service manager's watchdog is fed.
#include "host/daemon/watchdog.h"

#include <gtest/gtest.h>

namespace packetdb::host {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr Watchdog::Clock::time_point kStart{};

TEST(WatchdogTest, IsFedWhileTheLoopTurns) {
  Watchdog watchdog(seconds(30), kStart);
  EXPECT_TRUE(watchdog.Look(kStart, 1));
  EXPECT_TRUE(watchdog.Look(watchdog.due(), 2));
  EXPECT_FALSE(watchdog.Look(watchdog.due(), 2)) << "it did not turn";
  EXPECT_TRUE(watchdog.Look(watchdog.due(), 9)) << "it turns again";
}

TEST(WatchdogTest, IsNotFedBeforeTheFirstTurn) {
  Watchdog watchdog(seconds(30), kStart);
  EXPECT_FALSE(watchdog.Look(kStart, 0));
}

TEST(WatchdogTest, IsLookedAtThreeTimesInTheTimeThatItWaits) {
  Watchdog watchdog(seconds(30), kStart);
  EXPECT_EQ(watchdog.due(), kStart);
  watchdog.Look(kStart + seconds(3), 1);
  EXPECT_EQ(watchdog.due(), kStart + seconds(13));
}

TEST(WatchdogTest, LoopThatTurnsAsOftenAsAskedIsNeverTakenForOneThatDoesNot) {
  for (const auto patience : {milliseconds(6), milliseconds(100), milliseconds(30000)}) {
    const Watchdog watchdog(patience, kStart);
    EXPECT_LE(2 * watchdog.beat(), patience / 3) << patience.count();
    EXPECT_GE(watchdog.beat(), milliseconds(1));
    EXPECT_LE(watchdog.beat(), seconds(1));
  }
}

}  // namespace
}  // namespace packetdb::host
