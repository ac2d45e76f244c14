#include "host/names/names.h"

#include <gmock/gmock.h>

#include "host/sources/event.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::IsNull;
using testing::Pointee;

TEST(NamesTest, EventsAndFlagsHaveNamesWhereNobodyGivesAny) {
  const Names names;
  EXPECT_THAT(names.Event(kCodeDropped), Pointee(std::string("dropped")));
  EXPECT_EQ(names.EventCode("port-scan"), 20u);
  EXPECT_THAT(names.Event(1999), IsNull());
  EXPECT_EQ(names.EventCode("nothing"), std::nullopt);
  EXPECT_EQ(names.FlagBit("dropped"), kFlagDropped);
  EXPECT_THAT(names.nodes(), IsEmpty());
}

TEST(NamesTest, GivenNamesReplaceTheOthers) {
  Names names;
  names.SetEvents({{"mine", 7}});
  names.SetNodes({{"office", 3}, {"lab", 4}});
  EXPECT_THAT(names.Event(7), Pointee(std::string("mine")));
  EXPECT_THAT(names.Event(kCodeDropped), IsNull());
  EXPECT_THAT(names.Node(4), Pointee(std::string("lab")));
  EXPECT_EQ(names.NodeId("office"), 3u);
}

TEST(NamesTest, FlagsAreNamedFromTheLowestBitAndTheRestIsANumber) {
  Names names;
  EXPECT_THAT(names.Flags(kFlagIn | kFlagDropped | 0x80000000U),
              ElementsAre("in", "dropped", "0x80000000"));
  names.SetFlags({{"watched", 0x80000000U}});
  EXPECT_THAT(names.Flags(kFlagIn | 0x80000000U), ElementsAre("watched", "0x1"));
}

TEST(NamesTest, NumberOfTheRuleIsNoFlag) {
  EXPECT_THAT(Names().Flags(5U << kRuleShift), IsEmpty());
}

TEST(NamesTest, RuleIsTheOneOfTheTime) {
  Names names;
  names.SetRules(RuleDictionary::Parse(
      "packetdb-rules 1\n"
      "rule 2 1763719260 3 none 0x0 \"fw \\x22web\\x22: \" \"\" 1c151e64\n"
      "rule 2 1763910000 44 drop 0x2000000 \"fw \\x22web\\x22: \" \"from outside\" 6a0ba87a\n",
      "the test"));
  const std::uint32_t flags = 2U << kRuleShift;
  constexpr std::uint32_t kChanged = 1763910000 - TIME_1980_OFFSET;
  EXPECT_THAT(names.Rule(flags, kChanged), Pointee(Field(&RuleEntry::since, 1763910000)));
  EXPECT_THAT(names.Rule(flags, kChanged - 1), Pointee(Field(&RuleEntry::since, 1763719260)));
  EXPECT_THAT(names.Rule(0, kChanged), IsNull()) << "no rule";
  EXPECT_THAT(names.Rule(3U << kRuleShift, kChanged), IsNull()) << "a rule that nobody knows";
}

}  // namespace
}  // namespace packetdb::host
