#include <cstdarg>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <syslog.h>

#include "host/log/log.h"
#include "platform/log.h"

namespace {

int g_priority = -1;
std::string g_text;

}  // namespace

// Stands in for the C library's, so that what would reach the system log can be seen.
extern "C" void syslog(int priority, const char* format, ...) {
  char text[256];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  g_priority = priority;
  g_text = text;
}

namespace packetdb::host {
namespace {

TEST(SystemLog, TakesATextAsItIsWithItsPriority) {
  EXPECT_EQ(slput(LOG_INFO, "100 %s done"), 0);
  EXPECT_EQ(g_priority, LOG_DAEMON | LOG_INFO);
  EXPECT_EQ(g_text, "100 %s done");
}

TEST(SystemLog, RefusesAPriorityThatDoesNotExist) {
  g_text.clear();
  EXPECT_LT(slput(8, "text"), 0);
  EXPECT_LT(slput(-1, "text"), 0);
  EXPECT_EQ(g_text, "");
}

TEST(SystemLog, ReceivesLogLinesWhenItIsTheTarget) {
  ConfigureLog({LogTarget::kSyslog, 2, "packetdbd"});
  WriteLog(1, "cannot {} open");
  EXPECT_EQ(g_priority & LOG_PRIMASK, LOG_ERR);
  EXPECT_EQ(g_text, "cannot {} open");
  ConfigureLog({});
}

}  // namespace
}  // namespace packetdb::host
