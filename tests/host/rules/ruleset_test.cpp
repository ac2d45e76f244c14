// Texts that are no ruleset are refused, with the reason.
#include "host/rules/ruleset.h"

#include <gmock/gmock.h>

#include "tests/host/rules/support.h"

namespace packetdb::host::test {
namespace {

std::string ErrorOf(const std::string& text) {
  try {
    ReadRuleset(text);
  } catch (const RulesetError& error) {
    return error.what();
  }
  return "read";
}

TEST(RulesetTest, AnEmptyRulesetIsOne) {
  EXPECT_TRUE(ReadRuleset(R"({"nftables": []})").chains.empty());
}

TEST(RulesetTest, WhatIsNoJsonIsRefusedWithThePlace) {
  EXPECT_EQ(ErrorOf("{\"nftables\": ["), "no JSON, at byte 15");
  EXPECT_EQ(ErrorOf(""), "no JSON, at byte 1");
}

TEST(RulesetTest, ANumberThatNothingHoldsIsRefused) {
  EXPECT_EQ(ErrorOf(R"({"nftables": [1e999]})"), "it has a number that is out of range");
}

TEST(RulesetTest, OtherJsonIsNoRuleset) {
  for (const char* text : {"[]", "7", "{}", R"({"nftables": {}})"}) {
    EXPECT_EQ(ErrorOf(text), "no ruleset of nft: it has no list 'nftables'") << text;
  }
}

TEST(RulesetTest, NestingThatOnlyCostsMemoryIsRefused) {
  EXPECT_EQ(ErrorOf(std::string(100000, '[')), "nested deeper than 64 levels");
}

TEST(RulesetTest, ATextThatIsTooLargeIsRefused) {
  EXPECT_EQ(ErrorOf(std::string(kLargestRuleset + 1, ' ')), "larger than 33554432 bytes");
}

TEST(RulesetTest, ObjectsWithoutTheirNamesAreRefused) {
  EXPECT_EQ(ErrorOf(R"({"nftables": [{"rule": {"family": "ip", "chain": "c"}}]})"),
            "a rule without 'table'");
  EXPECT_EQ(ErrorOf(R"({"nftables": [{"chain": {"family": "ip", "table": "t", "name": 7}}]})"),
            "a chain without 'name'");
  EXPECT_EQ(ErrorOf(R"({"nftables": [{"table": {"family": "ip"}}]})"), "a table without 'name'");
}

TEST(RulesetTest, StatementsThatAreNoneAreRefusedWithTheirRule) {
  EXPECT_EQ(ErrorOf(InputChain({"7"})),
            "inet filter input handle 10: 'expr' is no list of statements");
  EXPECT_EQ(ErrorOf(InputChain({"[]", R"(["accept"])"})),
            "inet filter input handle 11: a statement is no object with one member");
  EXPECT_EQ(ErrorOf(InputChain({R"([{"log": {"group": 65536}}])"})),
            "inet filter input handle 10: the 'group' of its log statement is no number from 0 to "
            "65535");
  EXPECT_EQ(ErrorOf(InputChain({R"([{"log": {"group": 5, "snaplen": "x"}}])"})),
            "inet filter input handle 10: the 'snaplen' of its log statement is no number from 0 "
            "to 4294967295");
}

TEST(RulesetTest, EveryCutOfARulesetIsRefused) {
  const std::string text =
      FileText(PACKETDB_SOURCE_DIR "/tests/host/rules/data/established_unsaid.json");
  const std::size_t end = text.find_last_of('}');
  for (std::size_t length = 0; length < end; ++length) {
    EXPECT_NE(ErrorOf(text.substr(0, length)), "read") << length;
  }
}

TEST(RulesetTest, ValuesOfAnyTypeAnywhereAreReadOrRefused) {
  const std::string text =
      FileText(PACKETDB_SOURCE_DIR "/tests/host/rules/data/established_unsaid.json");
  const LintSettings settings = {.read_groups = {5}};
  for (std::size_t at = text.find('"'); at != std::string::npos; at = text.find('"', at + 1)) {
    const std::size_t end = text.find('"', at + 1);
    for (const char* other : {"7", "null", "[]", "{}", "[[1]]", "\"x\"", "{\"set\": [1, []]}"}) {
      std::string changed = text;
      changed.replace(at, end - at + 1, other);
      try {
        Lint(ReadRuleset(changed), settings);
      } catch (const RulesetError&) {
        continue;
      }
    }
    at = end;
  }
}

TEST(RulesetTest, ATableThatIsDormantIsLeftOut) {
  for (const char* flags : {R"("dormant")", R"(["owner", "dormant"])"}) {
    const std::string text =
        std::string(R"({"nftables": [{"table": {"family": "ip", "name": "t",)") + R"("flags": )" +
        flags + R"(}}, {"rule": {"family": "ip",)" +
        R"("table": "t", "chain": "c", "expr": []}}]})";
    EXPECT_TRUE(ReadRuleset(text).chains.empty()) << text;
  }
}

TEST(RulesetTest, ChainsThatCallEachOtherInACircleEnd) {
  const std::string jump = R"([{"jump": {"target": "input"}}])";
  EXPECT_TRUE(FoundIn({jump}).empty());
}

TEST(RulesetTest, ARuleWithoutAHandleIsNamedByItsNumber) {
  EXPECT_EQ(PlaceText({"ip", "t", "c", std::nullopt, 3}), "ip t c rule 3");
  EXPECT_EQ(PlaceText({"ip", "t", "c", 9, 3}), "ip t c handle 9");
}

}  // namespace
}  // namespace packetdb::host::test
