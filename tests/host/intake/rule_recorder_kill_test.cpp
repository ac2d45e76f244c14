// A writer of a rule dictionary that is killed at any system call: what it had given a number is
// there, and so is everything from before; the next writer goes on behind it. A file changes by
// system calls only, so that there is nothing else to be killed in between.
#include <filesystem>
#include <gmock/gmock.h>
#include <optional>
#include <set>

#include "host/intake/rule_dictionary.h"
#include "host/intake/rule_recorder.h"
#include "host/log/log.h"
#include "tests/host/intake/entries.h"
#include "tests/host/journals/support.h"
#include "tests/host/record_file/stepper.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

const RuleEntry kOld = EntryOf(1, "old", 1, 100);
const RuleEntry kChanged = EntryOf(1, "old", 44, 200);
const RuleEntry kNew = EntryOf(2, "new", 1, 300);

class KilledRuleRecorder : public testing::Test {
 protected:
  std::vector<RuleEntry> EntriesIn(const std::string& directory) {
    const RuleDictionary dictionary = RuleDictionary::Load(directory);
    EXPECT_THAT(dictionary.problems(), IsEmpty());
    return dictionary.entries();
  }

  // What the next writer finds, and that it can go on.
  void ExpectRecovery() {
    const std::string copy = root_.Path("copy");
    std::filesystem::remove_all(copy);
    std::filesystem::copy(directory_, copy);
    const std::vector<RuleEntry> before = EntriesIn(copy);
    RuleRecorder recorder(copy);
    EXPECT_THAT(recorder.problems(), IsEmpty());
    const std::uint32_t number = recorder.NumberOf("next", MeaningOf(7), 400);
    std::vector<RuleEntry> after = before;
    after.push_back(EntryOf(number, "next", 7, 400));
    EXPECT_THAT(EntriesIn(copy), ElementsAreArray(after));
    for (const RuleEntry& entry : before) EXPECT_NE(entry.number, number);
  }

  // Looks at every system call that changed anything.
  int StepThroughAll(const std::function<void()>& act, const std::function<void(bool)>& look) {
    return StepThrough(Step::kSystemCall, act, [&](bool returned) {
      const auto path = directory_ + "/rules.dictionary";
      const std::string text = std::filesystem::exists(path) ? ReadText(path) : "none";
      if (!HasFailure() && (states_.insert(text).second || returned)) {
        look(returned);
        ExpectRecovery();
      }
    });
  }

  std::string MakeDirectory() {
    std::string path = root_.Path("directory");
    std::filesystem::create_directory(path);
    return path;
  }

  const TempDir root_;
  const std::string directory_ = MakeDirectory();
  std::set<std::string> states_;
};

TEST_F(KilledRuleRecorder, HasCreatedADictionaryOrNone) {
  const int stops = StepThroughAll([&] { RuleRecorder recorder(directory_); },
                                   [&](bool) { EXPECT_THAT(EntriesIn(directory_), IsEmpty()); });
  EXPECT_GT(stops, 20);
  EXPECT_EQ(states_.size(), 2U);
}

TEST_F(KilledRuleRecorder, KeepsWhatItHadAndHasWhatItGave) {
  WriteText(directory_ + "/rules.dictionary", DictionaryText({kOld}));
  std::optional<RuleRecorder> recorder(directory_);
  const int stops = StepThroughAll(
      [&] {
        recorder->NumberOf("old", MeaningOf(44), 200);
        recorder->NumberOf("new", MeaningOf(1), 300);
      },
      [&](bool returned) {
        const std::vector<RuleEntry> entries = EntriesIn(directory_);
        if (returned) {
          EXPECT_THAT(entries, ElementsAre(kOld, kChanged, kNew));
        } else {
          EXPECT_THAT(entries, AnyOf(ElementsAre(kOld), ElementsAre(kOld, kChanged),
                                     ElementsAre(kOld, kChanged, kNew)));
        }
      });
  EXPECT_GE(stops, 16) << "four calls a line, in and out of each";
  EXPECT_EQ(states_.size(), 3U);
}

// Cut at every length, as a machine that stops may leave it.
TEST_F(KilledRuleRecorder, GoesOnBehindALineThatWasCutAnywhere) {
  const std::string text = DictionaryText({kOld, kNew});
  const std::size_t first = DictionaryText({kOld}).size();
  for (std::size_t size = first; size <= text.size(); ++size) {
    WriteText(directory_ + "/rules.dictionary", text.substr(0, size));
    ExpectRecovery();
    ASSERT_FALSE(HasFailure()) << size;
  }
}

}  // namespace
}  // namespace packetdb::host::test
