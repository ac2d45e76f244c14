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

TEST(EscapeForLog, ShowsWhatIsNoUtf8ByteByByte) {
  EXPECT_EQ(EscapeForLog("a\xFF"
                         "b\xC3"),
            "a\\xffb\\xc3");
  EXPECT_EQ(EscapeForLog("\xC0\x80"), "\\xc0\\x80");           // not the shortest form
  EXPECT_EQ(EscapeForLog("\xED\xA0\x80"), "\\xed\\xa0\\x80");  // a surrogate
  EXPECT_EQ(EscapeForLog("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
}

TEST(EscapeForLog, ShowsTheEightBitControlsThatTerminalsObey) {
  EXPECT_EQ(EscapeForLog("\x9B"
                         "31m\xC2\x9B"
                         "31m"),
            "\\x9b31m\\xc2\\x9b31m");
}

TEST(EscapeForLog, LeavesCharactersOfEveryLengthAlone) {
  const std::string text = "\xC2\xA0\xE2\x82\xAC\xF0\x9F\x90\xA7";
  EXPECT_EQ(EscapeForLog(text), text);
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
