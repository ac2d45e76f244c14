// When the kernel is asked for the name of an interface, and what it is called when nobody knows.
#include "host/sources/live_interface_names.h"

#include <gtest/gtest.h>
#include <map>

namespace packetdb::host::test {
namespace {

using Time = LiveInterfaceNames::Time;
using std::chrono::milliseconds;

class LiveNames : public testing::Test {
 protected:
  std::string At(int when, std::uint32_t index) {
    return names_.Name(index, Time(milliseconds(when)));
  }

  std::map<std::uint32_t, std::string> interfaces_ = {{2, "eth0"}, {3, "eth1"}};
  int asked_ = 0;
  LiveInterfaceNames names_{[this](std::uint32_t index) {
                              ++asked_;
                              const auto found = interfaces_.find(index);
                              return found == interfaces_.end() ? std::string() : found->second;
                            },
                            "nowhere"};
};

TEST_F(LiveNames, WithoutAnIndexNobodyIsAsked) {
  EXPECT_EQ(At(0, 0), "nowhere");
  EXPECT_EQ(asked_, 0);
}

TEST_F(LiveNames, EachIndexIsAskedForOnceASecondAtMost) {
  for (int when = 0; when < 1000; ++when) {
    EXPECT_EQ(At(when, 2), "eth0");
    EXPECT_EQ(At(when, 3), "eth1");
  }
  EXPECT_EQ(asked_, 2);
  EXPECT_EQ(At(1000, 2), "eth0");
  EXPECT_EQ(asked_, 3);
}

TEST_F(LiveNames, ANewNameIsKnownAfterASecond) {
  EXPECT_EQ(At(0, 2), "eth0");
  interfaces_[2] = "wan";
  EXPECT_EQ(At(999, 2), "eth0");
  EXPECT_EQ(At(1000, 2), "wan");
}

TEST_F(LiveNames, AnInterfaceThatHasGoneKeepsItsName) {
  EXPECT_EQ(At(0, 2), "eth0");
  interfaces_.clear();
  EXPECT_EQ(At(5000, 2), "eth0");
}

TEST_F(LiveNames, AnUnknownInterfaceIsCalledByItsIndexUntilItIsKnown) {
  EXPECT_EQ(At(0, 7), "if7");
  EXPECT_EQ(At(0, 0xFFFFFFFF), "if4294967295");
  interfaces_[7] = "tun0";
  EXPECT_EQ(At(999, 7), "if7");
  EXPECT_EQ(At(1000, 7), "tun0");
  EXPECT_EQ(asked_, 3);
}

TEST_F(LiveNames, MoreInterfacesThanItKeepsAreNamedAsWell) {
  for (std::uint32_t index = 1; index <= 10000; ++index) At(0, index);
  EXPECT_EQ(At(0, 10000), "if10000");
  EXPECT_EQ(At(0, 2), "eth0");
}

TEST(AskInterfaceName, OfNoSocketIsNone) { EXPECT_EQ(AskInterfaceName(-1, 1), ""); }

}  // namespace
}  // namespace packetdb::host::test
