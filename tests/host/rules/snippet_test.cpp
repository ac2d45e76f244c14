#include "host/rules/snippet.h"

#include <gmock/gmock.h>
#include <regex>
#include <sstream>

#include "host/rules/own_form.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;

class SnippetTest : public testing::TestWithParam<std::string> {};

TEST_P(SnippetTest, HasTheGroupThatWasAskedForAndLeavesNothingOpen) {
  const std::string text = Snippet(GetParam(), {.group = 4711});
  EXPECT_THAT(text, HasSubstr("4711"));
  EXPECT_THAT(text, testing::Not(HasSubstr("%")));
}

TEST_P(SnippetTest, ItsPrefixesAreOfOurFormAndShortEnoughForIptables) {
  const std::string text = Snippet(GetParam(), {});
  const std::regex prefix("prefix[ =]\"([^\"]*)\"");
  std::size_t prefixes = 0;
  for (std::sregex_iterator found(text.begin(), text.end(), prefix), end; found != end; ++found) {
    const std::string written = (*found)[1];
    EXPECT_TRUE(OwnFormVerdict(written)) << written;
    EXPECT_LT(written.size(), 64U);
    ++prefixes;
  }
  EXPECT_GT(prefixes, 0U);
}

TEST_P(SnippetTest, BeginsWithAComment) {
  std::istringstream lines(Snippet(GetParam(), {}));
  std::string line;
  std::getline(lines, line);
  EXPECT_TRUE(line.starts_with("#")) << line;
}

INSTANTIATE_TEST_SUITE_P(All, SnippetTest, testing::ValuesIn(SnippetFilters()),
                         [](const auto& instance) { return instance.param; });

TEST(SnippetLengthsTest, WhatIsCopiedAndGatheredIsWritten) {
  const SnippetSettings settings = {.group = 5, .snap_length = 77, .queue_threshold = 88};
  EXPECT_THAT(Snippet("nftables", settings), HasSubstr("group 5 snaplen 77"));
  EXPECT_THAT(Snippet("iptables", settings),
              HasSubstr("--nflog-group 5 --nflog-size 77 --nflog-threshold 88"));
  EXPECT_THAT(Snippet("ufw", settings), HasSubstr("--nflog-size 77 --nflog-threshold 88"));
}

TEST(SnippetLengthsTest, OtherFiltersHaveNone) {
  EXPECT_THROW(Snippet("pf", {}), std::invalid_argument);
}

}  // namespace
}  // namespace packetdb::host::test
