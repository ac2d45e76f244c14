#include "host/intake/rule_file.h"

#include <gmock/gmock.h>

#include "host/journals/error.h"
#include "host/sources/event.h"
#include "tests/host/intake/entries.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const RuleEntry kFirst = EntryOf(1, "one", 1);
const RuleEntry kSecond = EntryOf(2, "two", 2);
const RuleEntry kThird = EntryOf(3, "three", 3);

RuleFile Parsed(const std::string& text) { return ParseRuleFile(text, "PATH"); }

TEST(RuleFile, HasItsEntriesInOrder) {
  const std::string text = DictionaryText({kFirst, kSecond, EntryOf(1, "one", 9)});
  const RuleFile file = Parsed(text);
  EXPECT_THAT(file.entries, ElementsAre(kFirst, kSecond, EntryOf(1, "one", 9)));
  EXPECT_THAT(file.problems, IsEmpty());
  EXPECT_EQ(file.whole_bytes, text.size());
  EXPECT_EQ(file.next_number, 3U);
}

TEST(RuleFile, MayBeEmptyBelowItsTitle) {
  const RuleFile file = Parsed(DictionaryText({}));
  EXPECT_THAT(file.entries, IsEmpty());
  EXPECT_EQ(file.next_number, 1U);
}

TEST(RuleFile, IsToldByItsTitle) {
  for (const char* text : {"", "packetdb-rules 1", "packetdb-rules 2\n", "packetdb-group 1\nx\n"}) {
    EXPECT_EQ(WhatOf<JournalError>([&] { Parsed(text); }), "PATH:1: not a rule dictionary") << text;
  }
}

TEST(RuleFile, OutlivesDamageToItsTitle) {
  const RuleFile file = Parsed("x" + DictionaryText({kFirst}));
  EXPECT_THAT(file.entries, ElementsAre(kFirst));
  EXPECT_THAT(file.problems, ElementsAre("PATH:1: a damaged line, which is passed over"));
  EXPECT_EQ(file.next_number, 2U);
}

TEST(RuleFile, PassesOverADamagedLineAndSaysSo) {
  std::string text = DictionaryText({kFirst, kSecond, kThird});
  text[text.find("two")] = 'T';
  const RuleFile file = Parsed(text);
  EXPECT_THAT(file.entries, ElementsAre(kFirst, kThird));
  EXPECT_THAT(file.problems, ElementsAre("PATH:3: a damaged line, which is passed over"));
  EXPECT_EQ(file.whole_bytes, text.size());
  EXPECT_EQ(file.next_number, 4U);
}

TEST(RuleFile, DoesNotCountALastLineWithoutItsEnd) {
  const std::string whole = DictionaryText({kFirst});
  for (const std::string& tail : {RuleLine(kSecond), std::string("rule"), std::string(1, '\0')}) {
    const RuleFile file = Parsed(whole + tail);
    EXPECT_THAT(file.entries, ElementsAre(kFirst)) << tail;
    EXPECT_THAT(file.problems, IsEmpty()) << tail;
    EXPECT_EQ(file.whole_bytes, whole.size()) << tail;
  }
}

// Whatever is cut off or flipped: what is left is as it was, and no number of old is given again.
void ExpectAPartOf(const RuleFile& file, const std::vector<RuleEntry>& all, const char* how,
                   std::size_t where) {
  for (const RuleEntry& entry : file.entries) {
    EXPECT_THAT(all, testing::Contains(entry)) << how << where;
  }
}

TEST(RuleFile, CutAnywhereHasTheEntriesBeforeTheCut) {
  const std::vector<RuleEntry> all = {kFirst, kSecond, kThird};
  const std::string text = DictionaryText(all);
  for (std::size_t size = kRuleDictionaryTitle.size() + 1; size < text.size(); ++size) {
    const RuleFile file = Parsed(text.substr(0, size));
    ExpectAPartOf(file, all, "cut at ", size);
    EXPECT_THAT(file.problems, IsEmpty()) << size;
    EXPECT_GT(file.next_number, file.entries.size()) << size;
  }
}

TEST(RuleFile, WithAnyBitFlippedGivesNoNumberAgain) {
  const std::vector<RuleEntry> all = {kFirst, kSecond, kThird};
  const std::string text = DictionaryText(all);
  for (std::size_t bit = 0; bit < 8 * text.size(); ++bit) {
    std::string flipped = text;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << (bit % 8)));
    const RuleFile file = Parsed(flipped);
    ExpectAPartOf(file, all, "flipped bit ", bit);
    EXPECT_GE(file.entries.size(), 1U) << bit;
    EXPECT_GE(file.next_number, 4U) << bit;
    EXPECT_LE(file.next_number, 12U) << bit;
  }
}

TEST(RuleFile, OfGarbageDoesNotUseUpAllNumbers) {
  const RuleFile file = Parsed(DictionaryText({kFirst}) + std::string(1 << 20, 'x'));
  EXPECT_LT(file.next_number, 100U);
}

}  // namespace
}  // namespace packetdb::host::test
