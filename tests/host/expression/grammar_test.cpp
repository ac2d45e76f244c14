// The table of words is what the parser takes and what the page says.
#include "host/expression/grammar.h"

#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <set>

#include "host/expression/error.h"
#include "host/expression/explain.h"
#include "host/expression/lexer.h"
#include "host/expression/parser.h"
#include "tests/host/expression/support.h"

namespace packetdb::host::expression::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

std::string Page() {
  std::ifstream file(PACKETDB_SOURCE_DIR "/docs/expressions.md");
  return {std::istreambuf_iterator<char>(file), {}};
}

// The lines of the page that stand between ```EXPRESSION and the end of the block.
std::vector<std::string> BlockLines(const std::string& page, const std::string& language) {
  std::vector<std::string> lines;
  std::size_t at = page.find("```" + language + "\n");
  while (at != std::string::npos) {
    const std::size_t begin = page.find('\n', at) + 1;
    const std::size_t end = page.find("```\n", begin);
    for (std::size_t line = begin; line < end;) {
      const std::size_t stop = page.find('\n', line);
      lines.push_back(page.substr(line, stop - line));
      line = stop + 1;
    }
    at = page.find("```" + language + "\n", end);
  }
  return lines;
}

TEST(Grammar, ExampleOfEachWordUsesItAndIsAnExpression) {
  for (const Word& word : Words()) {
    const std::string example(word.example);
    EXPECT_NO_THROW(Parse(example, TestNames())) << example;
    std::vector<std::string> tokens;
    for (const Token& token : Tokens(example)) tokens.push_back(token.text);
    EXPECT_THAT(tokens, Contains(std::string(word.word)));
  }
}

TEST(Grammar, EachWordStandsForOneThing) {
  std::set<std::string_view> words;
  for (const Word& word : Words()) {
    EXPECT_TRUE(words.insert(word.word).second) << word.word;
    EXPECT_FALSE(BareProtocol(word.word)) << word.word;
    EXPECT_FALSE(word.help.empty()) << word.word;
    EXPECT_EQ(FindWord(word.word), &word);
    EXPECT_EQ(WhyNoWord(word.word), "");
  }
}

TEST(Grammar, EveryFieldHasAWord) {
  for (int i = 0; i <= static_cast<int>(Field::kIcmpCode); ++i) {
    EXPECT_EQ(WordOf(static_cast<Field>(i)).field, static_cast<Field>(i));
  }
}

TEST(Grammar, NamesOfProtocolsAreConditions) {
  for (const char* name : {"tcp", "udp", "icmp", "sctp", "gre", "esp"}) {
    EXPECT_EQ(Parse(name, TestNames()), Parse(std::string("proto ") + name, TestNames()));
    EXPECT_THAT(AllWords(), Contains(name));
  }
}

TEST(Grammar, PageHasTheTable) { EXPECT_THAT(Page(), HasSubstr("\n\n" + WordTable() + "\n")); }

TEST(Grammar, PageSaysWhatTheLimitsAre) {
  for (const std::size_t limit : {kLongestExpression, kMostTokens, std::size_t{kDeepest}}) {
    EXPECT_THAT(Page(), HasSubstr(" " + std::to_string(limit) + " "));
  }
}

TEST(Grammar, ExamplesOfThePageAreExpressions) {
  const std::vector<std::string> examples = BlockLines(Page(), "filter");
  EXPECT_GT(examples.size(), 10u);
  for (const std::string& example : examples) {
    EXPECT_NO_THROW(Parse(example, TestNames())) << example;
  }
}

TEST(Grammar, ErrorOfThePageIsWhatIsSaid) {
  const std::string text = "src host 10.0.0.7 prt 22";
  try {
    Parse(text, TestNames());
    FAIL();
  } catch (const ExpressionError& error) {
    EXPECT_THAT(Page(), HasSubstr("\n```\n" + Render(text, error, "packetdb query") + "```\n"));
  }
}

TEST(Grammar, ExplanationOfThePageIsWhatIsSaid) {
  const std::string text = "src net 10.0.0.0/8 and port 53 and count > 100 and iface eth*";
  const std::string explained = Explain(Split(Parse(text, TestNames())), TestNames());
  EXPECT_THAT(Page(), HasSubstr("\n```filter\n" + text + "\n```\n"));
  EXPECT_THAT(Page(), HasSubstr("\n```\n" + explained + "```\n"));
}

}  // namespace
}  // namespace packetdb::host::expression::test
