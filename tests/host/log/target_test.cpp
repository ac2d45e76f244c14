#include <gmock/gmock.h>

#include "host/log/log.h"
#include "tests/host/log/captured_stderr.h"

namespace packetdb::host {
namespace {

using test::CapturedStderr;
using testing::ContainsRegex;

TEST(LogTarget, JournalLinesCarryTheirPriority) {
  const CapturedStderr captured;
  ConfigureLog({LogTarget::kJournal, 5, "packetdbd"});
  for (int level = 1; level <= 5; ++level) {
    WriteLog(level, "line");
  }
  EXPECT_EQ(captured.Text(), "<3>line\n<6>line\n<6>line\n<7>line\n<7>line\n");
  ConfigureLog({});
}

TEST(LogTarget, StderrLinesCarryTimeProgramAndLevel) {
  const CapturedStderr captured;
  ConfigureLog({LogTarget::kStderr, 2, "packetdbd"});
  WriteLog(1, "line");
  EXPECT_THAT(captured.Text(),
              ContainsRegex("^[0-9-]+ [0-9:.]+ packetdbd\\[[0-9]+\\] error: line\n$"));
  ConfigureLog({});
}

TEST(LogTarget, WritesNothingAboveTheLevel) {
  const CapturedStderr captured;
  ConfigureLog({LogTarget::kStderr, 1, "packetdbd"});
  WriteLog(2, "line");
  EXPECT_EQ(captured.Text(), "");
  ConfigureLog({});
}

TEST(LogTarget, NeverShowsATextAsMoreThanOneLine) {
  const CapturedStderr captured;
  ConfigureLog({LogTarget::kJournal, 2, "packetdbd"});
  WriteLog(1, "a\n<0>b");
  EXPECT_EQ(captured.Text(), "<3>a\\x0a<0>b\n");
  ConfigureLog({});
}

}  // namespace
}  // namespace packetdb::host
