// What is no TOML, and what TOML allows and we do not.
#include <gmock/gmock.h>

#include "host/config/document.h"
#include "host/config/line_rules.h"
#include "tests/host/config/support.h"

namespace packetdb::host::test {
namespace {

TEST(Toml, WhatIsNoneIsRefusedWhereItEnds) {
  EXPECT_THAT(ProblemOf("[log\nlevel = 3\n"), testing::StartsWith("c.toml:1:5: this is no TOML: "));
  EXPECT_THAT(ProblemOf("\n\nlevel 3\n"), testing::StartsWith("c.toml:3:7: this is no TOML: "));
  EXPECT_THAT(ProblemOf("user = \"a\n"), testing::StartsWith("c.toml:1:10: this is no TOML: "));
}

TEST(Toml, WhatTheParserSaysOfAnEndOfLineIsOneLine) {
  const std::vector<std::string> problems = ProblemsOf("user = \"a\"]\n[log]\nlevel = n\n");
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_EQ(ProblemsOf("level = n\n")[0].find('\n'), std::string::npos);
  EXPECT_EQ(problems[0].find('\n'), std::string::npos);
}

TEST(Toml, AKeyIsGivenOncePerFile) {
  EXPECT_THAT(ProblemOf("intake = true\nintake = false\n"), testing::StartsWith("c.toml:2:"));
}

TEST(Toml, NumbersThatDoNotFitAreRefused) {
  EXPECT_THAT(ProblemOf("[limits]\nrows = 99999999999999999999\n"),
              testing::StartsWith("c.toml:2:"));
}

TEST(Toml, AMarkOfByteOrderMayStandInFront) {
  EXPECT_EQ(Read("\xEF\xBB\xBF[limits]\nrows = 5\n").limits.rows, 5);
}

TEST(Toml, LinesMayEndAsOnOtherSystems) {
  EXPECT_EQ(Read("[limits]\r\nrows = 5\r\n").limits.rows, 5);
}

TEST(Toml, ControlCharactersAreRefused) {
  using std::string_view_literals::operator""sv;
  EXPECT_EQ(ProblemOf("# a\nuser = \"a\0b\"\n"sv),
            "c.toml:2:10: there is a control character, 0x00");
  EXPECT_EQ(ProblemOf("# ä\x1b[31m\n"), "c.toml:1:4: there is a control character, 0x1b");
  EXPECT_EQ(ProblemOf("#\x7f\n"), "c.toml:1:2: there is a control character, 0x7f");
  EXPECT_EQ(ProblemOf("# a\rb\n"), "c.toml:1:4: there is a control character, 0x0d");
  EXPECT_EQ(ProblemOf("#\ta\n"), "");
}

TEST(Toml, BytesThatAreNoUtf8AreRefused) {
  EXPECT_THAT(ProblemOf("user = \"\xff\"\n"), testing::StartsWith("c.toml:1:8: this is no TOML: "));
}

// What the parser itself once took for impossible.
TEST(Toml, AHeadWithoutANameIsRefused) {
  for (const char* head :
       {"[=\"a\"", "[[=", "[ .a]", "[", "[[", "[]", "[#", "[\xc3\xa4]", "[a.]"}) {
    EXPECT_THAT(ProblemOf(std::string(head) + "\n"), testing::StartsWith("c.toml:1:")) << head;
  }
}

// Letters at the edges of the parser's tables of blanks, which once were taken for impossible.
TEST(Toml, LettersOutsideOfQuotesAreRefused) {
  for (const char* letter : {"ä", "Љ", "⺮", "〱", "\xef\xba\x80", "\xef\xbb\xbc"}) {
    EXPECT_THAT(ProblemOf(std::string("user = 05-27\"stderr\"") + letter + "\n"),
                testing::StartsWith("c.toml:1:8: this is no TOML: "));
    EXPECT_THAT(ProblemOf(std::string("user = \"root\"") + letter + "\n"),
                testing::StartsWith("c.toml:1:14: this is no TOML: "));
  }
}

TEST(Toml, LinesHave2048BytesAtMost) {
  EXPECT_EQ(ProblemOf("#" + std::string(2047, 'x') + "\n"), "");
  EXPECT_EQ(ProblemOf("\n#" + std::string(2048, 'x')),
            "c.toml:2:1: the line has 2049 bytes, more than 2048");
  EXPECT_EQ(ProblemOf("#" + std::string(1 << 20, 'x') + "\n"),
            "c.toml:1:1: the line has 1048577 bytes, more than 2048");
}

TEST(Toml, NestingHasADepth) {
  EXPECT_EQ(ProblemOf("user = [[[[[[[[1]]]]]]]]\n"), "c.toml:1:16: nested too deeply");
  EXPECT_EQ(ProblemOf("a.b.c.d.e.f.g.h.i = 1\n"), "c.toml:1:21: nested too deeply");
}

std::string Dotted(int count) {
  std::string key = "a";
  for (int i = 1; i < count; ++i) key += ".a";
  return key;
}

// As deep as the limits on lines and on lists within lists let anything be: the stack has to hold.
TEST(Toml, WhatIsNestedAsDeeplyAsItCanBeIsRefused) {
  std::string text = "b = ";
  for (int i = 0; i < 7; ++i) text += "[\n{ " + Dotted(1000) + " = ";
  text += "1";
  for (int i = 0; i < 7; ++i) text += "}]";
  text += "\n[" + Dotted(1000) + "]\n" + Dotted(1000) + " = 1\n";
  EXPECT_EQ(ProblemOf(text), "c.toml:2:15: nested too deeply\nc.toml:9:1: nested too deeply");
  EXPECT_EQ(ProblemOf("[" + Dotted(1000) + "]\n" + Dotted(1000) + " = 1\n"),
            "c.toml:1:1: nested too deeply");
}

TEST(Toml, OtherValuesAreCalledByTheirKind) {
  EXPECT_THAT(ProblemOf("user = 1.5\n"),
              testing::StartsWith("c.toml:1:8: user = a number with a fraction: "));
  EXPECT_THAT(ProblemOf("user = 1979-05-27\n"),
              testing::StartsWith("c.toml:1:8: user = a date or a time: "));
  EXPECT_THAT(ProblemOf("user = {}\n"), testing::StartsWith("c.toml:1:8: user = a table: "));
  EXPECT_THAT(ProblemOf("user = true\n"), testing::StartsWith("c.toml:1:8: user = true: "));
}

TEST(Toml, ColumnsAreCountedInCharacters) {
  EXPECT_EQ(ProblemOf("[[rule]]\nprefix = \"ä\" # ö\n[[exclusion]]\nname = \"x\"\n"
                      "ports = [53, # \xc3\xa4\n0]\n")
                .substr(0, 13),
            "c.toml:6:1: p");
  EXPECT_EQ(ProblemOf("log = { \"lev\xc3\xa4l\" = 1, level = 9 }\n").substr(0, 12), "c.toml:1:9: ");
}

TEST(Toml, LongTextsAreCutBetweenCharacters) {
  std::string text = "a";
  for (int i = 0; i < 40; ++i) text += "ä";
  EXPECT_THAT(ProblemOf("directory = \"" + text + "\"\n"),
              testing::StartsWith("c.toml:1:13: directory = \"" + text.substr(0, 63) +
                                  "\"… (81 bytes): it does not begin"));
}

}  // namespace
}  // namespace packetdb::host::test
