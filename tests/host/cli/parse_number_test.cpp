#include "host/cli/parse_number.h"

#include <gmock/gmock.h>

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::Pair;

constexpr std::int64_t kLowest = INT64_MIN;
constexpr std::int64_t kHighest = INT64_MAX;

TEST(Number, IsDecimal) {
  EXPECT_EQ(ParseNumber("0", kLowest, kHighest), 0);
  EXPECT_EQ(ParseNumber("42", kLowest, kHighest), 42);
  EXPECT_EQ(ParseNumber("-42", kLowest, kHighest), -42);
  EXPECT_EQ(ParseNumber("010", kLowest, kHighest), 10);
}

TEST(Number, IsHexadecimalBehind0x) {
  EXPECT_EQ(ParseNumber("0x10", kLowest, kHighest), 16);
  EXPECT_EQ(ParseNumber("0XfF", kLowest, kHighest), 255);
}

TEST(Number, HasToLieInItsRange) {
  EXPECT_EQ(ParseNumber("-3", -3, 5), -3);
  EXPECT_EQ(ParseNumber("5", -3, 5), 5);
  EXPECT_EQ(ParseNumber("-4", -3, 5), std::nullopt);
  EXPECT_EQ(ParseNumber("6", -3, 5), std::nullopt);
  EXPECT_EQ(ParseNumber("0x6", -3, 5), std::nullopt);
}

TEST(Number, ReachesToTheEndsOf64Bits) {
  EXPECT_EQ(ParseNumber("9223372036854775807", kLowest, kHighest), kHighest);
  EXPECT_EQ(ParseNumber("-9223372036854775808", kLowest, kHighest), kLowest);
  EXPECT_EQ(ParseNumber("9223372036854775808", kLowest, kHighest), std::nullopt);
  EXPECT_EQ(ParseNumber("0x10000000000000000", kLowest, kHighest), std::nullopt);
}

TEST(Number, IsNothingElse) {
  for (const char* text : {"", "-", "+5", " 5", "5 ", "5x", "1e3", "1.5", "five", "--5", "0x",
                           "0xg", "0x-5", "-0x5", "x5"}) {
    EXPECT_EQ(ParseNumber(text, kLowest, kHighest), std::nullopt) << text;
  }
}

TEST(List, IsSplitAtCommas) {
  EXPECT_THAT(SplitAtCommas("a"), ElementsAre("a"));
  EXPECT_THAT(SplitAtCommas("a,bc,d"), ElementsAre("a", "bc", "d"));
}

TEST(List, KeepsEmptyParts) {
  EXPECT_THAT(SplitAtCommas(""), ElementsAre(""));
  EXPECT_THAT(SplitAtCommas(",a,,b,"), ElementsAre("", "a", "", "b", ""));
}

TEST(NumberRange, IsSplitAtItsDash) { EXPECT_THAT(SplitRange("1-20"), Pair("1", "20")); }

TEST(NumberRange, MayStartAndEndWithANegativeNumber) {
  EXPECT_THAT(SplitRange("-5"), Pair("-5", "-5"));
  EXPECT_THAT(SplitRange("-5-7"), Pair("-5", "7"));
  EXPECT_THAT(SplitRange("-5--3"), Pair("-5", "-3"));
}

TEST(NumberRange, OfOneEndHasItTwice) {
  EXPECT_THAT(SplitRange("443"), Pair("443", "443"));
  EXPECT_THAT(SplitRange(""), Pair("", ""));
}

TEST(NumberRange, MayLackItsEnd) { EXPECT_THAT(SplitRange("1-"), Pair("1", "")); }

}  // namespace
}  // namespace packetdb::host::test
