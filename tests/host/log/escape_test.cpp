#include "host/log/escape.h"

#include <gmock/gmock.h>

namespace packetdb::host {
namespace {

using testing::EndsWith;

TEST(EscapeForLog, LeavesPlainTextAlone) {
  EXPECT_EQ(EscapeForLog("wan0 {} %s \xC3\xA9"), "wan0 {} %s \xC3\xA9");
}

TEST(EscapeForLog, ShowsControlBytesSoThatNoTextCanForgeALine) {
  EXPECT_EQ(EscapeForLog("a\nb\x1b[31m\x7f"), "a\\x0ab\\x1b[31m\\x7f");
}

TEST(EscapeForLog, DoublesBackslashesSoThatEscapesAreUnambiguous) {
  EXPECT_EQ(EscapeForLog("a\\x0a"), "a\\\\x0a");
}

TEST(EscapeForLog, CutsWhatIsTooLongAndSaysHowMuch) {
  EXPECT_THAT(EscapeForLog(std::string(kLongestLogText + 3, 'x')),
              EndsWith("x (cut: 3 bytes more)"));
}

}  // namespace
}  // namespace packetdb::host
