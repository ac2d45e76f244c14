#include "host/intake/rule_line.h"

#include <gmock/gmock.h>
#include <limits>

#include "host/record_file/crc32c.h"
#include "host/sources/event.h"
#include "tests/host/intake/entries.h"

namespace packetdb::host::test {
namespace {

// The line with a checksum that is right for what stands before it.
std::string Summed(const std::string& text) {
  char sum[10];
  std::snprintf(sum, sizeof sum, " %08x", Crc32c(text.data(), text.size()));
  return text + sum;
}

std::string Unsummed(const std::string& line) { return line.substr(0, line.size() - 9); }

TEST(RuleLine, SaysWhatTheEntrySays) {
  RuleEntry entry = EntryOf(12, "fw in: ", 44);
  entry.since = 1700000000;
  entry.meaning.verdict = Verdict::kDrop;
  entry.meaning.flags = 0x2000000;
  entry.meaning.text = "from outside";
  EXPECT_EQ(Unsummed(RuleLine(entry)),
            "rule 12 1700000000 44 drop 0x2000000 \"fw in: \" \"from outside\"");
}

TEST(RuleLine, ComesBack) {
  for (const Verdict verdict :
       {Verdict::kNone, Verdict::kAccept, Verdict::kDrop, Verdict::kReject}) {
    RuleEntry entry = EntryOf(kHighestRule, std::string(kLongestRulePrefix, '\xff'), 0xFFFFFFFF);
    entry.since = std::numeric_limits<std::int64_t>::min();
    entry.meaning.verdict = verdict;
    entry.meaning.flags = 0xFFFFFFFF;
    entry.meaning.text = std::string(kLongestRuleText, '\n');
    const std::string line = RuleLine(entry);
    EXPECT_LT(line.size(), kLongestRuleLine);
    EXPECT_EQ(ParseRuleLine(line), entry);
  }
  const RuleEntry shortest = EntryOf(1, "a", 1);
  EXPECT_EQ(ParseRuleLine(RuleLine(shortest)), shortest);
  EXPECT_GE(RuleLine(shortest).size() + 1, kShortestRuleLine);
}

TEST(RuleLine, IsDamagedByAnyFlippedBit) {
  const std::string line = RuleLine(EntryOf(7, "pdb:in:1:drop", 1));
  for (std::size_t bit = 0; bit < 8 * line.size(); ++bit) {
    std::string flipped = line;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << (bit % 8)));
    EXPECT_FALSE(ParseRuleLine(flipped)) << flipped;
  }
}

TEST(RuleLine, IsDamagedWhereverItIsCut) {
  const std::string line = RuleLine(EntryOf(7, "pdb:in:1:drop", 1));
  for (std::size_t size = 0; size < line.size(); ++size) {
    EXPECT_FALSE(ParseRuleLine(line.substr(0, size))) << size;
  }
}

TEST(RuleLine, OfTheRightChecksumStillHasToBeOne) {
  ASSERT_TRUE(ParseRuleLine(Summed("rule 1 0 1 none 0x0 \"a\" \"\"")));
  for (const char* text :
       {"rule", "rule ", "rules 1 0 1 none 0x0 \"a\" \"\"", "rule 0 0 1 none 0x0 \"a\" \"\"",
        "rule 16384 0 1 none 0x0 \"a\" \"\"", "rule 1x 0 1 none 0x0 \"a\" \"\"",
        "rule -1 0 1 none 0x0 \"a\" \"\"", "rule 1 x 1 none 0x0 \"a\" \"\"",
        "rule 1 0 4294967296 none 0x0 \"a\" \"\"", "rule 1 0 1 allow 0x0 \"a\" \"\"",
        "rule 1 0 1 none 0 \"a\" \"\"", "rule 1 0 1 none 0x \"a\" \"\"",
        "rule 1 0 1 none 0x100000000 \"a\" \"\"", "rule 1 0 1 none 0x0 a \"\"",
        "rule 1 0 1 none 0x0 \"\" \"\"", "rule 1 0 1 none 0x0 \"a\"\"\"",
        "rule 1 0 1 none 0x0 \"a\"", "rule 1 0 1 none 0x0 \"a\" \"\" ",
        "rule 1 0 1 none 0x0 \"a\" \"\" more"}) {
    EXPECT_FALSE(ParseRuleLine(Summed(text))) << text;
  }
}

TEST(RuleLine, HoldsTextsOfTheirLimitsAndNoLonger) {
  const auto line = [](std::size_t prefix, std::size_t text) {
    return Summed("rule 1 0 1 none 0x0 \"" + std::string(prefix, 'p') + "\" \"" +
                  std::string(text, 't') + "\"");
  };
  EXPECT_TRUE(ParseRuleLine(line(kLongestRulePrefix, kLongestRuleText)));
  EXPECT_FALSE(ParseRuleLine(line(kLongestRulePrefix + 1, 0)));
  EXPECT_FALSE(ParseRuleLine(line(1, kLongestRuleText + 1)));
}

}  // namespace
}  // namespace packetdb::host::test
