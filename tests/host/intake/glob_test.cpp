#include "host/intake/glob.h"

#include <gmock/gmock.h>
#include <string>

namespace packetdb::host::test {
namespace {

TEST(Glob, WithoutWildcardsFitsItselfOnly) {
  EXPECT_TRUE(GlobMatches("eth0", "eth0"));
  EXPECT_TRUE(GlobMatches("", ""));
  for (const char* text : {"", "eth", "eth00", "ETH0", "xeth0"}) {
    EXPECT_FALSE(GlobMatches("eth0", text)) << text;
  }
}

TEST(Glob, StarStandsForAnyBytesNoneIncluded) {
  for (const char* text : {"", "x", "any thing"}) EXPECT_TRUE(GlobMatches("*", text)) << text;
  EXPECT_TRUE(GlobMatches("eth*", "eth"));
  EXPECT_TRUE(GlobMatches("*th*", "eth0"));
  EXPECT_TRUE(GlobMatches("a*b*c", "a-b-b-c"));
  EXPECT_TRUE(GlobMatches("**a**", "a"));
  EXPECT_FALSE(GlobMatches("a*b*c", "a-c-b"));
  EXPECT_FALSE(GlobMatches("*b", "ab "));
}

TEST(Glob, QuestionMarkStandsForOneByte) {
  EXPECT_TRUE(GlobMatches("eth?", "eth7"));
  EXPECT_TRUE(GlobMatches("?*?", "ab"));
  EXPECT_FALSE(GlobMatches("eth?", "eth"));
  EXPECT_FALSE(GlobMatches("eth?", "eth10"));
  EXPECT_FALSE(GlobMatches("?*?", "a"));
}

TEST(Glob, TakesWildcardsOfTheTextForBytes) {
  EXPECT_FALSE(GlobMatches("a", "*"));
  EXPECT_TRUE(GlobMatches("*a", "**a"));
}

TEST(Glob, TakesANulForAByte) {
  const std::string text("a\0b", 3);
  EXPECT_TRUE(GlobMatches("a?b", text));
  EXPECT_FALSE(GlobMatches("a", text));
}

// What the pattern means, tried in every way.
bool MatchesPlainly(std::string_view pattern, std::string_view text) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] == '*') {
    return MatchesPlainly(pattern.substr(1), text) ||
           (!text.empty() && MatchesPlainly(pattern, text.substr(1)));
  }
  return !text.empty() && (pattern[0] == '?' || pattern[0] == text[0]) &&
         MatchesPlainly(pattern.substr(1), text.substr(1));
}

std::string Word(std::size_t number, int length, std::string_view letters) {
  std::string word;
  for (int i = 0; i < length; ++i, number /= letters.size()) {
    word += letters[number % letters.size()];
  }
  return word;
}

TEST(Glob, FitsWhatItMeansForEveryShortPatternAndText) {
  constexpr std::size_t kPatterns = 4 * 4 * 4 * 4 * 4;
  constexpr std::size_t kTexts = 32;
  for (std::size_t p = 0; p < kPatterns; ++p) {
    const std::string pattern = Word(p, 5, "ab*?");
    for (std::size_t t = 0; t < kTexts; ++t) {
      for (int length = 0; length <= 5; ++length) {
        const std::string text = Word(t, length, "ab");
        ASSERT_EQ(GlobMatches(pattern, text), MatchesPlainly(pattern, text))
            << pattern << " " << text;
      }
    }
  }
}

TEST(Glob, OfManyStarsEnds) {
  std::string pattern;
  for (int i = 0; i < 60; ++i) pattern += "*a";
  EXPECT_FALSE(GlobMatches(pattern + "*b", std::string(255, 'a')));
}

TEST(Glob, IsToldByItsWildcards) {
  EXPECT_TRUE(IsGlob("a*"));
  EXPECT_TRUE(IsGlob("?"));
  EXPECT_FALSE(IsGlob("a[b]"));
  EXPECT_FALSE(IsGlob(""));
}

}  // namespace
}  // namespace packetdb::host::test
