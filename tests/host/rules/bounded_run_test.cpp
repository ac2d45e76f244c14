#include "host/rules/bounded_run.h"

#include <csignal>
#include <gtest/gtest.h>

namespace packetdb::host::test {
namespace {

constexpr RunLimits kLimits = {std::chrono::seconds(60), 1000};

std::string RunErrorOf(const std::string& script, const RunLimits& limits = kLimits) {
  try {
    return "printed " + RunBounded({"sh", "-c", script}, limits);
  } catch (const RunError& error) {
    return error.what();
  }
}

TEST(BoundedRunTest, ReturnsWhatIsPrinted) {
  EXPECT_EQ(RunBounded({"printf", "%s", "a\nb"}, kLimits), "a\nb");
  EXPECT_EQ(RunBounded({"head", "-c", "1000", "/dev/zero"}, kLimits), std::string(1000, '\0'));
}

TEST(BoundedRunTest, AFailureIsToldWithItsFirstLine) {
  EXPECT_EQ(RunErrorOf("echo printed; echo no such thing >&2; echo more >&2; exit 3"),
            "sh ended with status 3: no such thing");
  EXPECT_EQ(RunErrorOf("exit 3"), "sh ended with status 3");
  EXPECT_EQ(RunErrorOf("kill -9 $$"), "sh was killed by signal 9");
}

TEST(BoundedRunTest, WhatPrintsTooMuchIsEnded) {
  EXPECT_EQ(RunErrorOf("exec head -c 1001 /dev/zero"), "sh printed more than 1000 bytes");
}

TEST(BoundedRunTest, ThatIsSoWhereWeIgnoreTheSignalOurselves) {
  const auto before = std::signal(SIGXFSZ, SIG_IGN);
  EXPECT_EQ(RunErrorOf("exec head -c 1001 /dev/zero"), "sh printed more than 1000 bytes");
  std::signal(SIGXFSZ, before);
}

TEST(BoundedRunTest, WhatDoesNotEndIsKilled) {
  EXPECT_EQ(RunErrorOf("exec sleep infinity", {std::chrono::milliseconds(1), 1000}),
            "sh did not end within 1 ms");
}

TEST(BoundedRunTest, AProgramThatIsNotThereIsNamed) {
  try {
    RunBounded({"packetdb-no-such-program"}, kLimits);
    FAIL();
  } catch (const RunError& error) {
    // Where a folder of the search path may not be searched, that is why.
    EXPECT_TRUE(std::string(error.what()).starts_with("packetdb-no-such-program cannot be run: "));
  }
}

}  // namespace
}  // namespace packetdb::host::test
