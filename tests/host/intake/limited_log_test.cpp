#include "host/intake/limited_log.h"

#include <gmock/gmock.h>

#include "tests/host/intake/log_lines.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

class ALimitedLog : public testing::Test {
 protected:
  void Tell(std::int64_t now) { log_.Tell(now, "journal lan", "not journaled", "no room"); }

  LimitedLog log_;
  const LogLines lines_;
};

TEST_F(ALimitedLog, TellsTheFirstAtOnceAndTheOthersAfterAMinute) {
  for (const int now : {1000, 1000, 1001, 1059, 1060, 1060}) Tell(now);
  EXPECT_THAT(lines_.All(), ElementsAre("journal lan: 1 event not journaled: no room",
                                        "journal lan: 4 events not journaled: no room"));
}

TEST_F(ALimitedLog, CatchesUpOnWhatHadToWait) {
  for (const std::uint64_t events : {0U, 5U, 7U, 0U}) {
    log_.Tell(1000, "nflog:5", "lost", "no room", events);
  }
  log_.Tell(1060, "nflog:5", "lost", "no room", 0);
  log_.Tell(1200, "nflog:5", "lost", "no room", 0);
  EXPECT_THAT(lines_.All(),
              ElementsAre("nflog:5: 5 events lost: no room", "nflog:5: 7 events lost: no room"));
}

TEST_F(ALimitedLog, TellsAgainAfterAClockThatWasSetBack) {
  Tell(1000);
  Tell(500);
  Tell(510);
  EXPECT_EQ(lines_.All().size(), 2U);
}

}  // namespace
}  // namespace packetdb::host::test
