#include "host/summary/bars.h"

#include <gtest/gtest.h>

namespace packetdb::host::test {
namespace {

TEST(BarsTest, OfBlocksHaveEighths) {
  EXPECT_EQ(BarOf(8, 8, 2, BarStyle::kBlocks), "██");
  EXPECT_EQ(BarOf(5, 8, 1, BarStyle::kBlocks), "▋");
  EXPECT_EQ(BarOf(5, 8, 2, BarStyle::kBlocks), "█▎");
}

TEST(BarsTest, OfAsciiHaveWholeColumns) {
  EXPECT_EQ(BarOf(8, 8, 4, BarStyle::kAscii), "####");
  EXPECT_EQ(BarOf(5, 8, 4, BarStyle::kAscii), "###");
}

TEST(BarsTest, OnlyNothingHasNone) {
  EXPECT_EQ(BarOf(0, 8, 4, BarStyle::kBlocks), "");
  EXPECT_EQ(BarOf(1, UINT64_MAX, 4, BarStyle::kBlocks), "▏");
  EXPECT_EQ(BarOf(1, UINT64_MAX, 4, BarStyle::kAscii), "#");
}

TEST(BarsTest, NeverAreWiderThanTheirWidth) {
  EXPECT_EQ(BarOf(UINT64_MAX, UINT64_MAX, 3, BarStyle::kBlocks), "███");
  EXPECT_EQ(BarOf(UINT64_MAX - 1, UINT64_MAX, 3, BarStyle::kAscii), "###");
}

}  // namespace
}  // namespace packetdb::host::test
