// Sizes and durations.
#include "host/config/units.h"

#include <gtest/gtest.h>

namespace packetdb::host::test {
namespace {

TEST(Units, SizesAreCountedInBytes) {
  EXPECT_EQ(ParseSize("0B"), 0);
  EXPECT_EQ(ParseSize("128B"), 128);
  EXPECT_EQ(ParseSize("64KiB"), 65536);
  EXPECT_EQ(ParseSize("32MiB"), 33554432);
  EXPECT_EQ(ParseSize("1GiB"), 1073741824);
  EXPECT_EQ(ParseSize("2TiB"), 2199023255552);
}

TEST(Units, DurationsAreCountedInMilliseconds) {
  EXPECT_EQ(ParseDuration("10ms"), 10);
  EXPECT_EQ(ParseDuration("1s"), 1000);
  EXPECT_EQ(ParseDuration("5min"), 300000);
  EXPECT_EQ(ParseDuration("2h"), 7200000);
}

TEST(Units, OtherTextsAreNone) {
  for (const char* text : {"", "MiB", "32", "32 MiB", " 32MiB", "32MiB ", "32MB", "32mib", "-1MiB",
                           "+1MiB", "1.5MiB", "0x10B", "1e3B", "1MiB1", "-0B"}) {
    EXPECT_EQ(ParseSize(text), std::nullopt) << text;
  }
  EXPECT_EQ(ParseDuration("1m"), std::nullopt);
  EXPECT_EQ(ParseDuration("1MiB"), std::nullopt);
}

TEST(Units, WhatDoesNotFitIsNone) {
  EXPECT_EQ(ParseSize("9223372036854775807B"), 9223372036854775807);
  EXPECT_EQ(ParseSize("9223372036854775808B"), std::nullopt);
  EXPECT_EQ(ParseSize("8388607TiB"), 9223370937343148032);
  EXPECT_EQ(ParseSize("8388608TiB"), std::nullopt);
}

TEST(Units, AreShownWithTheLargestUnitThatIsWhole) {
  EXPECT_EQ(ShowSize(0), "0B");
  EXPECT_EQ(ShowSize(1023), "1023B");
  EXPECT_EQ(ShowSize(1024), "1KiB");
  EXPECT_EQ(ShowSize(1536), "1536B");
  EXPECT_EQ(ShowSize(std::int64_t{3} << 30), "3GiB");
  EXPECT_EQ(ShowDuration(0), "0ms");
  EXPECT_EQ(ShowDuration(1500), "1500ms");
  EXPECT_EQ(ShowDuration(90000), "90s");
  EXPECT_EQ(ShowDuration(86400000), "24h");
}

}  // namespace
}  // namespace packetdb::host::test
