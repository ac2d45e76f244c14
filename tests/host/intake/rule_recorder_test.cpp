#include "host/intake/rule_recorder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <optional>

#include "host/intake/rule_dictionary.h"
#include "host/journals/error.h"
#include "host/sources/event.h"
#include "tests/host/intake/entries.h"
#include "tests/host/journals/support.h"
#include "tests/host/record_file/child.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ARuleRecorder : public testing::Test {
 protected:
  void Open() { recorder_.emplace(directory_.Path()); }
  void Reopen() {
    recorder_.reset();
    Open();
  }
  std::vector<RuleEntry> Entries() const {
    return RuleDictionary::Load(directory_.Path()).entries();
  }

  const TempDir directory_;
  const std::string path_ = directory_.Path("rules.dictionary");
  std::optional<RuleRecorder> recorder_;
};

TEST_F(ARuleRecorder, CreatesTheDictionary) {
  Open();
  EXPECT_EQ(ReadText(path_), "packetdb-rules 1\n");
  EXPECT_EQ(recorder_->rules(), 0U);
}

TEST_F(ARuleRecorder, NumbersPrefixesFromOneOn) {
  Open();
  EXPECT_EQ(recorder_->NumberOf("a", MeaningOf(1), 100), 1U);
  EXPECT_EQ(recorder_->NumberOf("b", MeaningOf(1), 101), 2U);
  EXPECT_EQ(recorder_->NumberOf("a", MeaningOf(1), 102), 1U);
  EXPECT_EQ(recorder_->rules(), 2U);
  EXPECT_THAT(Entries(), ElementsAre(EntryOf(1, "a", 1, 100), EntryOf(2, "b", 1, 101)));
}

TEST_F(ARuleRecorder, KeepsTheNumbersOverARestart) {
  Open();
  recorder_->NumberOf("a", MeaningOf(1), 100);
  recorder_->NumberOf("b", MeaningOf(1), 100);
  const std::string before = ReadText(path_);
  Reopen();
  EXPECT_EQ(recorder_->NumberOf("b", MeaningOf(1), 200), 2U);
  EXPECT_EQ(ReadText(path_), before);
  EXPECT_EQ(recorder_->NumberOf("c", MeaningOf(1), 200), 3U);
}

TEST_F(ARuleRecorder, AddsALineWhenAPrefixGetsAnotherMeaning) {
  Open();
  recorder_->NumberOf("a", MeaningOf(1), 100);
  Reopen();
  EXPECT_EQ(recorder_->NumberOf("a", MeaningOf(44), 200), 1U);
  EXPECT_EQ(recorder_->NumberOf("a", MeaningOf(44, "text"), 300), 1U);
  Reopen();
  EXPECT_EQ(recorder_->NumberOf("a", MeaningOf(44, "text"), 400), 1U);
  RuleEntry last = EntryOf(1, "a", 44, 300);
  last.meaning.text = "text";
  EXPECT_THAT(Entries(), ElementsAre(EntryOf(1, "a", 1, 100), EntryOf(1, "a", 44, 200), last));
}

TEST_F(ARuleRecorder, KeepsTheLinesOfANumberInTheOrderOfTime) {
  Open();
  recorder_->NumberOf("a", MeaningOf(1), 500);
  recorder_->NumberOf("a", MeaningOf(2), 100);  // the clock was set back
  EXPECT_THAT(Entries(), ElementsAre(EntryOf(1, "a", 1, 500), EntryOf(1, "a", 2, 500)));
}

TEST_F(ARuleRecorder, TakesAPrefixOfAnyBytes) {
  const std::string prefix("\0 \"\\\n\xff rule 9", 13);
  Open();
  EXPECT_EQ(recorder_->NumberOf(prefix, MeaningOf(1), 100), 1U);
  EXPECT_THAT(Entries(), ElementsAre(EntryOf(1, prefix, 1, 100)));
}

TEST_F(ARuleRecorder, CutsATextThatIsTooLong) {
  Open();
  recorder_->NumberOf("a", MeaningOf(1, std::string(300, 't')), 100);
  recorder_->NumberOf("a", MeaningOf(1, std::string(400, 't')), 100);
  ASSERT_EQ(Entries().size(), 1U);
  EXPECT_EQ(Entries().front().meaning.text, std::string(kLongestRuleText, 't'));
}

TEST_F(ARuleRecorder, GivesNoNumberToAPrefixThatIsEmptyOrTooLong) {
  Open();
  EXPECT_EQ(recorder_->NumberOf("", MeaningOf(1), 100), 0U);
  EXPECT_EQ(recorder_->NumberOf(std::string(256, 'p'), MeaningOf(1), 100), 0U);
  EXPECT_EQ(recorder_->NumberOf(std::string(255, 'p'), MeaningOf(1), 100), 1U);
}

TEST_F(ARuleRecorder, GivesNumbersUpToTheMostAndThenNone) {
  WriteText(path_, DictionaryText({EntryOf(kHighestRule - 1, "a", 1)}));
  Open();
  EXPECT_EQ(recorder_->NumberOf("b", MeaningOf(1), 100), kHighestRule);
  EXPECT_EQ(recorder_->NumberOf("c", MeaningOf(1), 100), 0U);
  EXPECT_EQ(recorder_->NumberOf("b", MeaningOf(2), 100), kHighestRule) << "no new number is needed";
  Reopen();
  EXPECT_EQ(recorder_->NumberOf("c", MeaningOf(1), 100), 0U);
}

TEST_F(ARuleRecorder, DoesNotGrowTheDictionaryBeyondWhatIsRead) {
  Open();
  recorder_.reset();
  const RuleEntry entry = EntryOf(1, std::string(255, '\xff'), 1);
  const std::string line = RuleLine(entry) + "\n";
  std::string text = DictionaryText({});
  while (text.size() + line.size() <= kLargestRuleDictionary) text += line;
  WriteText(path_, text);
  Open();
  EXPECT_EQ(recorder_->NumberOf(std::string(255, '\xfe'), MeaningOf(1), 100), 0U);
  EXPECT_EQ(ReadText(path_).size(), text.size());
}

TEST_F(ARuleRecorder, LosesAHalfWrittenLastLineToTheNext) {
  WriteText(path_, DictionaryText({EntryOf(1, "a", 1)}) + "rule 2 0 1 dr");
  Open();
  EXPECT_THAT(recorder_->problems(), IsEmpty());
  const std::uint32_t number = recorder_->NumberOf("b", MeaningOf(1), 100);
  EXPECT_EQ(number, 3U) << "2 may have been given";
  EXPECT_EQ(ReadText(path_), DictionaryText({EntryOf(1, "a", 1), EntryOf(number, "b", 1, 100)}));
}

TEST_F(ARuleRecorder, NeverGivesTheNumberOfADamagedLineAgain) {
  std::string text = DictionaryText({EntryOf(1, "a", 1), EntryOf(2, "b", 1)});
  text[text.size() - 2] ^= 1;
  WriteText(path_, text);
  Open();
  EXPECT_THAT(recorder_->problems(),
              ElementsAre(path_ + ":3: a damaged line, which is passed over"));
  EXPECT_EQ(recorder_->NumberOf("b", MeaningOf(1), 100), 3U);
  EXPECT_TRUE(ReadText(path_).starts_with(text));
}

TEST_F(ARuleRecorder, HoldsTheDictionaryForItself) {
  Open();
  const auto error = [this] {
    return WhatOf<JournalError>([this] { RuleRecorder second(directory_.Path()); });
  };
  const std::string expected =
      "rule dictionary " + path_ + " is in use: another process journals events there";
  EXPECT_EQ(InChild([&] { return error() == expected ? 0 : 1; }), 0);
  recorder_.reset();
  EXPECT_EQ(InChild([&] { return error() == "nothing was thrown" ? 0 : 1; }), 0);
}

TEST_F(ARuleRecorder, CanBeReadBesideItsWriter) {
  Open();
  recorder_->NumberOf("a", MeaningOf(1), 100);
  EXPECT_THAT(Entries(), ElementsAre(EntryOf(1, "a", 1, 100)));
}

TEST_F(ARuleRecorder, RefusesWhatIsNoDictionary) {
  WriteText(path_, "something else\n");
  EXPECT_EQ(WhatOf<JournalError>([this] { Open(); }), path_ + ":1: not a rule dictionary");
  EXPECT_EQ(ReadText(path_), "something else\n");
}

TEST_F(ARuleRecorder, NeedsItsDirectory) {
  const std::string path = directory_.Path("missing") + "/rules.dictionary";
  const std::string error =
      WhatOf<JournalError>([this] { RuleRecorder recorder(directory_.Path("missing")); });
  EXPECT_THAT(error, testing::StartsWith("cannot create " + path));
}

TEST_F(ARuleRecorder, GivesNoNumberThatCouldNotBeWritten) {
  Open();
  std::filesystem::remove(path_);
  const auto number = [this] { recorder_->NumberOf("a", MeaningOf(1), 100); };
  EXPECT_EQ(WhatOf<JournalError>(number),
            "cannot write " + path_ + ": it was removed or replaced while it was in use");
  EXPECT_THROW(number(), JournalError);
  EXPECT_EQ(recorder_->rules(), 0U);
}

}  // namespace
}  // namespace packetdb::host::test
