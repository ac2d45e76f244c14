// What somebody may have meant.
#include "host/config/spelling.h"

#include <gtest/gtest.h>

namespace packetdb::host::test {
namespace {

TEST(Spelling, EachEditCountsOnce) {
  EXPECT_EQ(EditDistance("buffer", "buffer"), 0U);
  EXPECT_EQ(EditDistance("bufer", "buffer"), 1U);
  EXPECT_EQ(EditDistance("bufffer", "buffer"), 1U);
  EXPECT_EQ(EditDistance("bugger", "buffer"), 2U);
  EXPECT_EQ(EditDistance("", "abc"), 3U);
  EXPECT_EQ(EditDistance("abc", ""), 3U);
}

TEST(Spelling, ASwapOfNeighboursIsOneEdit) {
  EXPECT_EQ(EditDistance("recieve", "receive"), 1U);
  EXPECT_EQ(EditDistance("ab", "ba"), 1U);
}

TEST(Spelling, NearestWordIsMeant) {
  const std::vector<std::string> words = {"rows", "columns", "connections"};
  EXPECT_EQ(NearestWord("colums", words), "columns");
  EXPECT_EQ(NearestWord("row", words), "rows");
  EXPECT_EQ(NearestWord("conections_", words), "connections");
}

TEST(Spelling, NothingIsMeantByAWordThatIsFarFromAll) {
  const std::vector<std::string> words = {"rows", "columns"};
  EXPECT_EQ(NearestWord("path", words), std::nullopt);
  EXPECT_EQ(NearestWord("", words), std::nullopt);
  EXPECT_EQ(NearestWord(std::string(65, 'c'), words), std::nullopt);
  EXPECT_EQ(NearestWord("rows", {}), std::nullopt);
}

TEST(Spelling, TheFirstOfTwoThatAreAsNearIsMeant) {
  EXPECT_EQ(NearestWord("abx", {"aby", "abz"}), "aby");
}

}  // namespace
}  // namespace packetdb::host::test
