// What the log says of connections that are refused.
#include "host/daemon/refusals.h"

#include <gmock/gmock.h>

#include "tests/host/log/captured_stderr.h"

namespace packetdb::host {
namespace {

using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;

TEST(RefusalLogTest, SaysTheFirstAtOnceAndCountsTheOthersOfAMinute) {
  const auto start = RefusalLog::Clock::time_point(seconds(1000));
  RefusalLog log;
  const packetdb::test::CapturedStderr first;
  log.Tell(start, "one");
  log.Tell(start + seconds(1), "two");
  log.Tell(start + seconds(59), "three");
  EXPECT_THAT(first.Text(), HasSubstr("refused 1 connection, the last one: one\n"));
  EXPECT_THAT(first.Text(), Not(HasSubstr("two")));
  log.Tell(start + seconds(60), "four");
  EXPECT_THAT(first.Text(), HasSubstr("refused 3 connections, the last one: four\n"));
}

}  // namespace
}  // namespace packetdb::host
