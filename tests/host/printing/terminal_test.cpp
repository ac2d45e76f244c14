#include "host/printing/terminal.h"

#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "host/printing/options.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

// A terminal of 132 columns that nobody sits at.
class Terminal : public testing::Test {
 protected:
  Terminal() : main_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    grantpt(main_);
    unlockpt(main_);
    out_ = std::fopen(ptsname(main_), "we");
    winsize size{};
    size.ws_col = 132;
    ioctl(main_, TIOCSWINSZ, &size);
    unsetenv("NO_COLOR");
    setenv("TERM", "xterm", 1);
  }
  ~Terminal() override {
    std::fclose(out_);
    close(main_);
  }

  int main_;
  std::FILE* out_ = nullptr;
};

TEST_F(Terminal, TellsItsWidth) {
  ASSERT_NE(out_, nullptr);
  EXPECT_EQ(TerminalWidth(out_), 132U);
}

TEST_F(Terminal, HasColoursUnlessTheEnvironmentSaysOtherwise) {
  EXPECT_TRUE(WantsColour("auto", out_));
  EXPECT_FALSE(WantsColour("never", out_));
  setenv("TERM", "dumb", 1);
  EXPECT_FALSE(WantsColour("auto", out_));
  setenv("TERM", "xterm", 1);
  setenv("NO_COLOR", "1", 1);
  EXPECT_FALSE(WantsColour("auto", out_));
  EXPECT_TRUE(WantsColour("always", out_));
  setenv("NO_COLOR", "", 1);
  EXPECT_TRUE(WantsColour("auto", out_));
}

TEST(NoTerminal, HasNeitherWidthNorColoursButOnDemand) {
  std::FILE* const file = std::tmpfile();
  EXPECT_EQ(TerminalWidth(file), 0U);
  EXPECT_FALSE(WantsColour("auto", file));
  EXPECT_TRUE(WantsColour("always", file));
  std::fclose(file);
}

TEST(NoTerminal, IsAskedForColoursInThreeWords) {
  EXPECT_EQ(WhatOf<PrintError>([] { WantsColour("yes", stdout); }),
            "'yes' is not when to use colours: give auto, always or never");
}

}  // namespace
}  // namespace packetdb::host::test
