#include "host/expression/parser.h"

#include <gmock/gmock.h>

#include "host/expression/error.h"
#include "host/expression/printer.h"
#include "tests/host/expression/support.h"

namespace packetdb::host::expression::test {
namespace {

using testing::HasSubstr;

std::string Printed(const std::string& expression) {
  return Print(Parse(expression, TestNames()), TestNames());
}

std::string Nested(int levels, const std::string& open, const std::string& close) {
  std::string text;
  for (int i = 0; i < levels; ++i) text += open;
  text += "tcp";
  for (int i = 0; i < levels; ++i) text += close;
  return text;
}

TEST(Parser, EmptyExpressionIsEverything) {
  EXPECT_TRUE(IsEverything(Parse("", TestNames())));
  EXPECT_TRUE(IsEverything(Parse(" \n", TestNames())));
  EXPECT_EQ(Printed("ip"), "");
}

TEST(Parser, AndBindsTighterThanOrAndNotTightest) {
  EXPECT_EQ(Printed("tcp or udp and port 53"), Printed("tcp or (udp and port 53)"));
  EXPECT_NE(Printed("tcp or udp and port 53"), Printed("(tcp or udp) and port 53"));
  EXPECT_EQ(Printed("not tcp and port 53"), Printed("(not tcp) and port 53"));
}

TEST(Parser, BareValueRepeatsTheQualifiersBeforeIt) {
  EXPECT_EQ(Printed("src host 10.0.0.1 or 10.0.0.2"), "src host 10.0.0.1 or src host 10.0.0.2");
  EXPECT_EQ(Printed("tcp dst port 80 or 8080"), "tcp dst port 80 or tcp dst port 8080");
  EXPECT_EQ(Printed("not host 10.0.0.1 and 10.0.0.2"), "not host 10.0.0.1 and host 10.0.0.2");
  EXPECT_EQ(Printed("src port (80 or 443)"), "src port 80 or src port 443");
}

TEST(Parser, ComparisonIsNotRepeated) {
  EXPECT_THROW(Parse("port > 1023 or 80", TestNames()), ExpressionError);
  EXPECT_THROW(Parse("port != 22 and 80", TestNames()), ExpressionError);
}

TEST(Parser, NestsAsDeepAsTheLimitAndNoDeeper) {
  EXPECT_EQ(Printed(Nested(kDeepest, "(", ")")), "proto tcp");
  EXPECT_NO_THROW(Parse(Nested(kDeepest, "not ", ""), TestNames()));
  EXPECT_THROW(Parse(Nested(kDeepest + 1, "(", ")"), TestNames()), ExpressionError);
  EXPECT_THROW(Parse(Nested(kDeepest + 1, "! ", ""), TestNames()), ExpressionError);
  EXPECT_THROW(Parse(Nested(1300, "host (", ")"), TestNames()), ExpressionError);
}

TEST(Parser, LevelsEndWhereTheyDo) {
  std::string text = "(tcp)";
  for (int i = 0; i < 300; ++i) text += " and not (tcp)";
  EXPECT_NO_THROW(Parse(text, TestNames()));
}

TEST(Parser, TakesAsManyConditionsAsFit) {
  std::string text = "port 1";
  for (int i = 0; i < 1000; ++i) text += " or 2";
  EXPECT_EQ(Parse(text, TestNames()).children.size(), 1001u);
}

TEST(Parser, ErrorNamesThePlaceAndWhatMayHaveBeenMeant) {
  try {
    Parse("host 10.0.0.1 and event droped", TestNames());
    FAIL();
  } catch (const ExpressionError& error) {
    EXPECT_EQ(error.offset(), 24u);
    EXPECT_EQ(error.length(), 6u);
    EXPECT_EQ(error.message(), "'droped' is no event");
    EXPECT_THAT(error.expected(), HasSubstr("the name of an event"));
    EXPECT_EQ(error.suggestion(), "dropped");
  }
}

}  // namespace
}  // namespace packetdb::host::expression::test
