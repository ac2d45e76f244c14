#include "host/intake/rule_set.h"

#include <gmock/gmock.h>

#include "host/sources/event.h"
#include "tests/host/intake/support.h"

namespace packetdb::host::test {
namespace {

std::uint32_t CodeOf(const std::vector<RuleSettings>& rules, std::string_view prefix) {
  return RuleSet(rules).MeaningOf(prefix).meaning.code;
}

TEST(ASetOfRules, GivesWhatTheRuleSays) {
  RuleSettings rule = RuleFor("fw-in", 44);
  rule.verdict = Verdict::kReject;
  rule.flags = 0x2000000;
  rule.text = "from outside";
  const PrefixMeaning found = RuleSet({rule}).MeaningOf("fw-in");
  EXPECT_EQ(found.meaning, (RuleMeaning{44, Verdict::kReject, 0x2000000, "from outside"}));
  EXPECT_FALSE(found.is_malformed);
}

TEST(ASetOfRules, TakesTheFirstThatFitsInTheOrderOfTheConfiguration) {
  EXPECT_EQ(CodeOf({RuleFor("a*", 1), RuleFor("ab", 2)}, "ab"), 1U);
  EXPECT_EQ(CodeOf({RuleFor("ab", 2), RuleFor("a*", 1)}, "ab"), 2U);
  EXPECT_EQ(CodeOf({RuleFor("x*", 3), RuleFor("ab", 2), RuleFor("a*", 1)}, "ab"), 2U);
  EXPECT_EQ(CodeOf({RuleFor("x*", 3), RuleFor("a?", 4), RuleFor("a*", 1)}, "abc"), 1U);
  EXPECT_EQ(CodeOf({RuleFor("ab", 5), RuleFor("ab", 6)}, "ab"), 5U);
}

TEST(ASetOfRules, ComesBeforeThePrefixesOwnWords) {
  EXPECT_EQ(CodeOf({RuleFor("pdb:in:*", 77)}, "pdb:in:1:drop:9"), 77U);
  EXPECT_EQ(CodeOf({RuleFor("pdb:out:*", 77)}, "pdb:in:1:drop:9"), 9U);
}

TEST(ASetOfRules, LetsAPrefixOfOurOwnFormExplainItself) {
  const PrefixMeaning found = RuleSet({}).MeaningOf("pdb:in:1:accept");
  EXPECT_EQ(found.meaning, (RuleMeaning{kCodeAccepted, Verdict::kAccept, 0, ""}));
}

TEST(ASetOfRules, RemarksAPrefixThatStartsLikeOurForm) {
  const PrefixMeaning found = RuleSet({}).MeaningOf("pdb:in");
  EXPECT_EQ(found.meaning.code, kCodeLogged);
  EXPECT_TRUE(found.is_malformed);
  EXPECT_FALSE(RuleSet({RuleFor("pdb:*", 9)}).MeaningOf("pdb:in").is_malformed);
}

TEST(ASetOfRules, LeavesOtherPrefixesTheirDefault) {
  EXPECT_EQ(CodeOf({RuleFor("a", 9)}, "b"), kCodeLogged);
}

TEST(ASetOfRules, IsNotAskedWhereNoRuleWasInvolved) {
  EXPECT_EQ(CodeOf({RuleFor("*", 9)}, ""), kCodeCaptured);
}

TEST(ASetOfRules, CannotSetTheBitsOfARulesNumber) {
  RuleSettings rule = RuleFor("a", 1);
  rule.flags = 0xFFFFFFFF;
  EXPECT_EQ(RuleSet({rule}).MeaningOf("a").meaning.flags, ~kRuleMask);
}

}  // namespace
}  // namespace packetdb::host::test
