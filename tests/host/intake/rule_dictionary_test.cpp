#include "host/intake/rule_dictionary.h"

#include <filesystem>
#include <gmock/gmock.h>

#include "host/journals/error.h"
#include "host/sources/event.h"
#include "tests/host/intake/entries.h"
#include "tests/host/journals/support.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const RuleEntry kOld = EntryOf(2, "web", 40, 100);
const RuleEntry kNew = EntryOf(2, "web", 44, 200);
const RuleEntry kOther = EntryOf(1, "ssh", 44, 50);

class ARuleDictionary : public testing::Test {
 protected:
  RuleDictionary Load(const std::string& text) {
    WriteText(path_, text);
    return RuleDictionary::Load(directory_.Path());
  }

  const TempDir directory_;
  const std::string path_ = directory_.Path("rules.dictionary");
};

TEST_F(ARuleDictionary, ThatIsMissingIsEmpty) {
  const RuleDictionary dictionary = RuleDictionary::Load(directory_.Path());
  EXPECT_THAT(dictionary.entries(), IsEmpty());
  EXPECT_EQ(dictionary.Find(1, 0), nullptr);
}

TEST_F(ARuleDictionary, SaysWhatANumberStoodForAtATime) {
  const RuleDictionary dictionary = Load(DictionaryText({kOther, kOld, kNew}));
  EXPECT_EQ(*dictionary.Find(2, 100), kOld);
  EXPECT_EQ(*dictionary.Find(2, 199), kOld);
  EXPECT_EQ(*dictionary.Find(2, 200), kNew);
  EXPECT_EQ(*dictionary.Find(1, 1000), kOther);
}

// The clock may have been ahead when the line was written, and set back since.
TEST_F(ARuleDictionary, TakesTheFirstLineForTimesBeforeIt) {
  EXPECT_EQ(*Load(DictionaryText({kOld, kNew})).Find(2, 5), kOld);
}

TEST_F(ARuleDictionary, KnowsNoNumberThatNoLineHas) {
  const RuleDictionary dictionary = Load(DictionaryText({kOther, EntryOf(3, "c", 1)}));
  for (const std::uint32_t number : {0U, 2U, 4U}) {
    EXPECT_EQ(dictionary.Find(number, 100), nullptr) << number;
  }
}

TEST_F(ARuleDictionary, ListsTheLinesOfACode) {
  const RuleDictionary dictionary = Load(DictionaryText({kOld, kNew, kOther}));
  EXPECT_THAT(dictionary.WithCode(44), ElementsAre(kOther, kNew));
  EXPECT_THAT(dictionary.WithCode(40), ElementsAre(kOld));
  EXPECT_THAT(dictionary.WithCode(1), IsEmpty());
}

TEST_F(ARuleDictionary, ReportsDamageAndServesTheRest) {
  const RuleDictionary dictionary = Load("packetdb-rules 1\nrule 1\n" + RuleLine(kOld) + "\n");
  EXPECT_THAT(dictionary.problems(),
              ElementsAre(path_ + ":2: a damaged line, which is passed over"));
  EXPECT_EQ(*dictionary.Find(2, 100), kOld);
}

TEST_F(ARuleDictionary, ThatIsNoneIsRefused) {
  EXPECT_EQ(WhatOf<JournalError>([&] { Load("something else\n"); }),
            path_ + ":1: not a rule dictionary");
}

TEST_F(ARuleDictionary, IsNotReadThroughASymbolicLink) {
  WriteText(directory_.Path("target"), DictionaryText({}));
  std::filesystem::create_symlink("target", path_);
  EXPECT_THROW(RuleDictionary::Load(directory_.Path()), JournalError);
}

TEST(TheNumberOfARule, IsInBits9To22OfTheFlags) {
  EXPECT_EQ(RuleNumber(0x200), 1U);
  EXPECT_EQ(RuleNumber(0x7FFE00), kHighestRule);
  EXPECT_EQ(RuleNumber(0xFF8001FF), 0U);
}

}  // namespace
}  // namespace packetdb::host::test
