#include <climits>
#include <gmock/gmock.h>

#include "host/log/log.h"
#include "platform/log.h"
#include "tests/host/log/captured_stderr.h"

namespace packetdb::host {
namespace {

using test::CapturedStderr;
using testing::HasSubstr;
using testing::IsEmpty;

class LogFacility : public testing::Test {
 protected:
  LogFacility() { ConfigureLog({}); }
  ~LogFacility() override { ConfigureLog({}); }

  XeltLogProps* props_ = XeltLog_GetProps_cl_module();
};

TEST_F(LogFacility, StartsAtNotices) { EXPECT_EQ(props_->m_Level, 2); }

TEST_F(LogFacility, RefusesALineAboveTheLevel) {
  EXPECT_EQ(props_->m_Open(3, "f", "src/query", 1), nullptr);
}

TEST_F(LogFacility, WritesALineWholeWhenItCloses) {
  const CapturedStderr captured;
  void* line = props_->m_Open(2, "packetdb::Query::read", "src/query", 1);
  ASSERT_NE(line, nullptr);
  XetlLogHelper(props_, line) << "hash "
                              << "of ";
  props_->m_AppendInt(line, -7, 4);
  props_->m_AppendUInt(line, ULLONG_MAX, 8);
  EXPECT_THAT(captured.Text(), IsEmpty());
  props_->m_Close(line);
  EXPECT_THAT(captured.Text(),
              HasSubstr("info: packetdb::Query::read: hash of -718446744073709551615\n"));
}

TEST_F(LogFacility, ChangesItsLevelAtRunTime) {
  SetLogLevel(5);
  void* line = props_->m_Open(5, "f", "src/query", 1);
  ASSERT_NE(line, nullptr);
  const CapturedStderr captured;
  props_->m_Close(line);
  SetLogLevel(0);
  EXPECT_EQ(props_->m_Open(1, "f", "src/query", 1), nullptr);
}

TEST_F(LogFacility, TakesTheNearestLevelForOneOutOfRange) {
  SetLogLevel(99);
  EXPECT_EQ(LogLevel(), 5);
  SetLogLevel(-1);
  EXPECT_EQ(LogLevel(), 0);
}

TEST_F(LogFacility, ShowsHexadecimalAtTheWidthOfTheValue) {
  EXPECT_EQ(XeltLogHexLongLong(0xAB, 4), "0x000000ab");
  EXPECT_EQ(XeltLogHexLongLong(0xC0A80001, 4), "0xc0a80001");
  EXPECT_EQ(XeltLogHexLongLong(1, 8), "0x0000000000000001");
  EXPECT_EQ(XeltLogHexLongLongW(0xAB, 2), L"0x00ab");
}

}  // namespace
}  // namespace packetdb::host
