#include "host/intake/prefix_table.h"

#include <gmock/gmock.h>

#include "host/sources/event.h"
#include "tests/host/intake/support.h"

namespace packetdb::host::test {
namespace {

ExclusionSettings ExcludingPrefix(std::string_view prefix) {
  ExclusionSettings exclusion;
  exclusion.prefix = prefix;
  return exclusion;
}

class ATableOfPrefixes : public testing::Test {
 protected:
  static RuleSettings Rule() {
    RuleSettings rule = RuleFor("a*", 44);
    rule.verdict = Verdict::kDrop;
    rule.flags = 0x2000000;
    return rule;
  }

  const RuleSet rules_{{Rule()}};
  const Exclusions exclusions_{{ExcludingPrefix("x"), ExcludingPrefix("ab"), ExcludingPrefix("")}};
  PrefixTable table_{rules_, exclusions_};
};

TEST_F(ATableOfPrefixes, DecidesCodeFlagsAndExclusions) {
  const PrefixDecision& decision = table_.Find("ab");
  EXPECT_EQ(decision.meaning.code, 44U);
  EXPECT_EQ(decision.flags, kFlagDropped | 0x2000000U);
  EXPECT_EQ(decision.exclusions, 0b110U);
  EXPECT_FALSE(decision.is_malformed);
  EXPECT_FALSE(decision.is_numbered);
}

TEST_F(ATableOfPrefixes, NeedsNoNumberWhereNoRuleWasInvolved) {
  EXPECT_TRUE(table_.Find("").is_numbered);
  EXPECT_EQ(table_.Find("").flags, 0U);
}

TEST_F(ATableOfPrefixes, RemembersWhatItsUserAdded) {
  table_.Find("ab").is_numbered = true;
  table_.Find("ac");
  EXPECT_TRUE(table_.Find("ab").is_numbered);
  EXPECT_FALSE(table_.Find("ac").is_numbered);
}

TEST_F(ATableOfPrefixes, DoesNotRememberWhatTheDictionaryCannotHold) {
  const std::string prefix(kLongestRulePrefix + 1, 'a');
  table_.Find(prefix).is_numbered = true;
  EXPECT_FALSE(table_.Find(prefix).is_numbered);
  EXPECT_EQ(table_.Find(prefix).meaning.code, 44U);
}

TEST_F(ATableOfPrefixes, BeginsAnewWhenItHasSeenTooMany) {
  table_.Find("first").is_numbered = true;
  for (std::size_t i = 1; i < PrefixTable::kMostPrefixes; ++i) table_.Find(std::to_string(i));
  EXPECT_TRUE(table_.Find("first").is_numbered);
  EXPECT_EQ(table_.times_emptied(), 0U);
  EXPECT_EQ(table_.Find("ab").meaning.code, 44U);
  EXPECT_EQ(table_.times_emptied(), 1U);
  EXPECT_FALSE(table_.Find("first").is_numbered);
}

}  // namespace
}  // namespace packetdb::host::test
