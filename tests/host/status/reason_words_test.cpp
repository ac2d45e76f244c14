#include "host/status/reason_words.h"

#include <gmock/gmock.h>
#include <set>
#include <string>

namespace packetdb::host::test {
namespace {

// All that are named differently, in words that need no quoting anywhere.
template <class Reason>
std::set<std::string> WordsOf(std::size_t count) {
  std::set<std::string> words;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string word(Word(static_cast<Reason>(i)));
    EXPECT_THAT(word, testing::MatchesRegex("[a-z][a-z0-9_]*"));
    words.insert(word);
  }
  return words;
}

TEST(ReasonWords, TellReasonsApart) {
  const std::set<std::string> words = WordsOf<SkipReason>(kSkipReasons);
  EXPECT_EQ(words.size(), kSkipReasons);
  EXPECT_EQ(words.count("unknown"), 0U);
}

TEST(ReasonWords, TellRemarksApart) {
  const std::set<std::string> words = WordsOf<Remark>(kRemarks);
  EXPECT_EQ(words.size(), kRemarks);
  EXPECT_EQ(words.count("unknown"), 0U);
}

TEST(ReasonWords, StayAsTheyAre) {
  EXPECT_EQ(Word(SkipReason::kIpv6), "ipv6");
  EXPECT_EQ(Word(SkipReason::kTooLate), "too_late");
  EXPECT_EQ(Word(Remark::kPortsNotCaptured), "ports_not_captured");
}

}  // namespace
}  // namespace packetdb::host::test
