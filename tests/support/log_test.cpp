// The scripted facility notices what the facility's contract forbids.
#include "tests/support/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "platform/log.h"

namespace packetdb::test {
namespace {

class LogBookTest : public ::testing::Test {
 protected:
  LogBookTest() { Log().Reset(); }
  ~LogBookTest() override { Log().Reset(); }

  void* Open(int level) {
    return props_.m_Open(level, ClUnilogFname("void f()", "f").c_str(), "file", 7);
  }
  // Writes one whole line if `wanted`.
  void Write(int level, const char* text, bool wanted) {
    if (!wanted) return;
    void* line = Open(level);
    if (line == nullptr) return;
    props_.m_AppendText(line, text);
    props_.m_Close(line);
  }

  XeltLogProps& props_ = *XeltLog_GetProps_cl_module();
};

TEST_F(LogBookTest, KeepsALineWithItsPieces) {
  Log().SetLevel(3);
  void* line = Open(3);
  XetlLogHelper(&props_, line) << "a " << XeltLogHexLongLong(255, 4).c_str();
  props_.m_AppendText(line, " b ");
  props_.m_AppendInt(line, -1, 8);
  props_.m_AppendUInt(line, 2, 1);
  props_.m_Close(line);
  EXPECT_THAT(Log().Texts(3), ::testing::ElementsAre("a {x4:ff} b -12"));
  EXPECT_THAT(Log().Marked(3), ::testing::ElementsAre("a {x4:ff} b {i8:-1}{u1:2}"));
  EXPECT_EQ(Log().Lines()[0].function, "f");
  EXPECT_EQ(Log().Lines()[0].signature, "void f()");
  EXPECT_THAT(Log().Misuses(), ::testing::IsEmpty());
}

TEST_F(LogBookTest, RefusesAboveTheLevelAndNotesTheAttempt) {
  Log().SetLevel(3);
  EXPECT_EQ(Open(4), nullptr);
  Log().Refuse();
  EXPECT_EQ(Open(1), nullptr);
  EXPECT_EQ(Log().Attempts().size(), 2u);
  EXPECT_TRUE(Log().Lines().empty());
}

TEST_F(LogBookTest, NoticesALineLeftOpen) {
  Log().SetLevel(5);
  Open(5);
  EXPECT_EQ(Log().Misuses().size(), 1u);
}

TEST_F(LogBookTest, NoticesUseOfALineThatIsNotOpen) {
  Log().SetLevel(5);
  void* line = Open(5);
  props_.m_Close(line);
  props_.m_AppendText(line, "late");
  props_.m_Close(line);
  props_.m_Close(nullptr);
  EXPECT_EQ(Log().Misuses().size(), 3u);
}

TEST_F(LogBookTest, NoticesANameOfAnotherOrigin) {
  props_.m_Open(1, "f", "file", 7);
  EXPECT_EQ(Log().Misuses().size(), 1u);
}

TEST_F(LogBookTest, ExpectLoggedAcceptsAGuardedLine) {
  ExpectLogged(3, "text", [this] { Write(3, "text", props_.m_Level >= 3); });
}

TEST_F(LogBookTest, ExpectLoggedMissesALine) {
  EXPECT_NONFATAL_FAILURE(ExpectLogged(3, "text", [] {}), "missing");
}

TEST_F(LogBookTest, ExpectLoggedTripsOverAnUnguardedLine) {
  EXPECT_NONFATAL_FAILURE(ExpectLogged(3, "text", [this] { Write(3, "text", true); }), "void f()");
}

TEST_F(LogBookTest, WideHexadecimalIsTheSameText) {
  EXPECT_EQ(XeltLogHexLongLongW(255, 4), L"{x4:ff}");
}

}  // namespace
}  // namespace packetdb::test
