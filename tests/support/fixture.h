// The fixture of every test over the scripted platform.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/calls.h"
#include "tests/support/clock.h"
#include "tests/support/events.h"
#include "tests/support/journal.h"
#include "tests/support/log.h"
#include "tests/support/message.h"
#include "tests/support/record_file.h"

namespace packetdb::test {

using Strings = std::vector<std::string>;

// Starts each test on an empty platform with a silent log, and holds the library to the log
// facility's contract afterwards.
class LibraryTest : public ::testing::Test {
 protected:
  LibraryTest() { ResetPlatform(); }
  ~LibraryTest() override { ResetPlatform(); }
  void TearDown() override { EXPECT_EQ(Log().Misuses(), Strings{}); }

  static void ResetPlatform() {
    Calls().Reset();
    Clock().Reset();
    Files().Reset();
    Log().Reset();
    LastErrorCalls() = 0;
  }
};

// The calls that `act` makes on the platform.
template <class Act>
Strings CallsOf(Act act) {
  Calls().Forget();
  act();
  return Calls().All();
}

// The log lines of one level that `act` writes, with marked numbers.
template <class Act>
Strings LinesOf(int level, Act act) {
  Log().Forget();
  Log().SetLevel(level);
  act();
  Log().SetLevel(0);
  return Log().Marked(level);
}

}  // namespace packetdb::test
