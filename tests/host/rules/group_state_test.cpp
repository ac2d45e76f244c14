// Who holds a log group, in a network of the test's own.
#include "host/rules/group_state.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/prctl.h>
#include <unistd.h>

#include "host/sources/log_group.h"
#include "tests/host/sources/live/network.h"

namespace packetdb::host::test {
namespace {

using Reader = GroupState::Reader;

class GroupStateTest : public OwnNetwork {
 protected:
  // Reads the group under a name that others see.
  static GroupState StateUnder(const char* name) {
    const auto group = LogGroup::Open({.group = 5});
    prctl(PR_SET_NAME, name);
    return ReadGroupState(5);
  }
};

TEST_F(GroupStateTest, AGroupThatNobodyHoldsIsFree) {
  const GroupState state = ReadGroupState(5);
  EXPECT_EQ(state.reader, Reader::kNobody);
  EXPECT_EQ(state.who, "");
}

TEST_F(GroupStateTest, AnotherProcessIsNamed) {
  const GroupState state = StateUnder("ulogd");
  EXPECT_EQ(state.reader, Reader::kOther);
  EXPECT_EQ(state.who, "ulogd (pid " + std::to_string(getpid()) + ")");
}

TEST_F(GroupStateTest, TheDaemonIsKnownByEitherOfItsNames) {
  EXPECT_EQ(StateUnder("packetdb-intake").reader, Reader::kOurs);
  EXPECT_EQ(StateUnder("packetdbd").reader, Reader::kOurs);
}

}  // namespace
}  // namespace packetdb::host::test
