#include "host/sources/time_keeper.h"

#include <gmock/gmock.h>
#include <string>

namespace packetdb::host::test {
namespace {

// What becomes of an event of these times: "first-last", with a star when it was moved.
std::string Keep(TimeKeeper& keeper, std::uint32_t first, std::uint32_t last) {
  packetdb::CDrvErrorItemV4 item{};
  item.m_FirstTime = first;
  item.m_LastTime = last;
  const bool moved = keeper.Keep(item);
  return std::to_string(item.m_FirstTime) + "-" + std::to_string(item.m_LastTime) +
         (moved ? "*" : "");
}

TEST(TimeKeeper, LeavesTimesThatDoNotGoBack) {
  TimeKeeper keeper;
  EXPECT_EQ(Keep(keeper, 10, 10), "10-10");
  EXPECT_EQ(Keep(keeper, 10, 10), "10-10");
  EXPECT_EQ(Keep(keeper, 4294967295, 4294967295), "4294967295-4294967295");
  EXPECT_EQ(keeper.adjusted(), 0U);
}

TEST(TimeKeeper, MovesAnOlderEventToTheNewestAndCountsIt) {
  TimeKeeper keeper;
  Keep(keeper, 10, 10);
  EXPECT_EQ(Keep(keeper, 4, 4), "10-10*");
  EXPECT_EQ(Keep(keeper, 9, 9), "10-10*");
  EXPECT_EQ(Keep(keeper, 11, 11), "11-11");
  EXPECT_EQ(keeper.adjusted(), 2U);
  EXPECT_EQ(keeper.newest(), 11U);
}

TEST(TimeKeeper, FloorHoldsBeforeTheFirstEvent) {
  TimeKeeper keeper;
  keeper.RaiseFloor(100);
  EXPECT_EQ(Keep(keeper, 99, 99), "100-100*");
  EXPECT_EQ(Keep(keeper, 100, 100), "100-100");
}

TEST(TimeKeeper, FloorNeverSinks) {
  TimeKeeper keeper;
  Keep(keeper, 10, 10);
  keeper.RaiseFloor(5);
  EXPECT_EQ(Keep(keeper, 7, 7), "10-10*");
}

TEST(TimeKeeper, ASpanEndsTheNewestSeen) {
  TimeKeeper keeper;
  EXPECT_EQ(Keep(keeper, 10, 20), "10-20");
  EXPECT_EQ(Keep(keeper, 15, 25), "20-25*");
  EXPECT_EQ(Keep(keeper, 30, 28), "30-30*");
}

}  // namespace
}  // namespace packetdb::host::test
