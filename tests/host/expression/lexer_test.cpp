#include "host/expression/lexer.h"

#include <gmock/gmock.h>

#include "host/expression/error.h"

namespace packetdb::host::expression::test {
namespace {

using testing::ElementsAre;

std::vector<std::string> TextsOf(std::string_view expression) {
  std::vector<std::string> texts;
  for (const Token& token : Tokens(expression)) texts.push_back(token.text);
  return texts;
}

TEST(Lexer, SplitsAtBlanksAndMarks) {
  EXPECT_THAT(
      TextsOf("port>=80 in[22,8000-8100]\n(a)"),
      ElementsAre("port", ">=", "80", "in", "[", "22", ",", "8000-8100", "]", "(", "a", ")", ""));
}

TEST(Lexer, SignsAreTheWordsThatTheyStandFor) {
  EXPECT_THAT(TextsOf("!a&&b||c==d"), ElementsAre("not", "a", "and", "b", "or", "c", "=", "d", ""));
}

TEST(Lexer, TokensKnowWhereTheyStand) {
  const std::vector<Token> tokens = Tokens("  ab 'c d'");
  EXPECT_EQ(tokens[0].offset, 2u);
  EXPECT_EQ(tokens[0].length, 2u);
  EXPECT_EQ(tokens[1].offset, 5u);
  EXPECT_EQ(tokens[1].length, 5u);
  EXPECT_EQ(tokens[2].offset, 10u);
}

TEST(Lexer, QuotesHoldAnyBytes) {
  const std::vector<Token> tokens = Tokens(R"('a "b" \'\\\x00\xfF' "it's")");
  EXPECT_EQ(tokens[0].text, std::string("a \"b\" '\\\0\xFF", 10));
  EXPECT_EQ(tokens[0].kind, Token::Kind::kQuoted);
  EXPECT_EQ(tokens[1].text, "it's");
}

TEST(Lexer, WhatIsQuotedIsReadAgain) {
  for (const std::string text : {"", "a", "a b", "'", "\\", "\x01\x7F", "\xC3\xBC x", "\\tcp"}) {
    const std::vector<Token> tokens = Tokens(Quoted(text, false));
    ASSERT_EQ(tokens.size(), 2u) << text;
    EXPECT_EQ(tokens[0].text, text);
  }
  EXPECT_EQ(Quoted("port", true), "'port'");
  EXPECT_EQ(Quoted("eth0*", false), "eth0*");
}

TEST(Lexer, LimitsHowLongAnExpressionIs) {
  EXPECT_EQ(Tokens(std::string(kLongestExpression, 'a')).size(), 2u);
  EXPECT_THROW(Tokens(std::string(kLongestExpression + 1, 'a')), ExpressionError);
}

TEST(Lexer, LimitsHowManyWordsThereAre) {
  EXPECT_EQ(Tokens(std::string(kMostTokens, '(')).size(), kMostTokens + 1);
  EXPECT_THROW(Tokens(std::string(kMostTokens + 1, '(')), ExpressionError);
}

}  // namespace
}  // namespace packetdb::host::expression::test
