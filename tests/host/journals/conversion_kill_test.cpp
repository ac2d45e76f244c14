// A writer that is killed at any system call while it converts a journal: the next one finds every
// record, and so does the one after a recovery that was killed as well.
#include <filesystem>
#include <gmock/gmock.h>
#include <iostream>
#include <set>
#include <tuple>

#include "host/log/log.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"
#include "tests/host/record_file/stepper.h"
#include "tests/support/sweep.h"

namespace packetdb::host::test {
namespace {

using State = std::map<std::string, FileThere>;

// What tells two states apart when the files of one are copies of those of the other.
struct Shape {
  std::map<std::string, std::pair<std::string, std::string>> files;  // first name, bytes
  auto operator<=>(const Shape&) const = default;
};

Shape ShapeOf(const std::string& directory) {
  Shape shape;
  std::map<ino_t, std::string> first_names;
  for (const auto& [name, file] : Snapshot(directory)) {
    shape.files[name] = {first_names.emplace(file.inode, name).first->second, file.bytes};
  }
  return shape;
}

GroupOptions OptionsIn(const std::string& directory, bool keep_old) {
  GroupOptions options;
  options.directory = directory;
  options.group = "lan";
  options.keep_old = keep_old;
  return options;
}

class KilledConversion : public testing::TestWithParam<std::tuple<JournalFormat, int, bool>> {
 protected:
  KilledConversion() : log_level_(LogLevel()) { SetLogLevel(kLowestLogLevel); }
  ~KilledConversion() override { SetLogLevel(log_level_); }

  JournalFormat format() const { return std::get<0>(GetParam()); }
  int count() const { return std::get<1>(GetParam()); }
  bool keep_old() const { return std::get<2>(GetParam()); }

  std::string MakeGroup() {
    const std::string directory = root_.Path("group");
    std::filesystem::create_directory(directory);
    // A catalogue that is there already: what a kill leaves of one in the making is not the matter.
    WriteText(directory + "/lan.group", "packetdb-group 1\nwindow 60\n");
    MakeOld(directory + "/lan.journal", format(), count());
    return directory;
  }

  // Opens the group of `directory` for writing, and looks at the directory at every stop.
  int StepThroughOpening(const std::string& directory, const std::function<void()>& look) {
    return StepThrough(
        Step::kSystemCall, [&] { const GroupWriter writer(OptionsIn(directory, keep_old())); },
        [&](bool returned) {
          if (!returned) look();
        });
  }

  std::string CopyOf(const std::string& directory, const std::string& name) {
    const std::string copy = root_.Path(name);
    std::filesystem::remove_all(copy);
    CopyWithLinks(directory, copy);
    return copy;
  }

  // Whether the next writer finds all records in today's format and leaves nothing lying about.
  void ExpectRecovery(const std::string& directory) {
    const std::string copy = CopyOf(directory, "recovered");
    { const GroupWriter writer(OptionsIn(copy, keep_old())); }
    EXPECT_EQ(NumbersIn(copy + "/lan.journal", format()), Numbers(0, count()));
    std::vector<std::string> names = {"lan.group", "lan.journal"};
    if (keep_old()) names.emplace_back("lan.journal.pre-v4");
    EXPECT_EQ(NamesIn(copy), names);
    ++recoveries_;
  }

  void Report(int stops) {
    RecordProperty("kill_points", stops);
    RecordProperty("recoveries", recoveries_);
    std::cout << "[ killed   ] at " << stops << " system calls, " << recoveries_
              << " different states recovered from\n";
  }

  const TempDir root_;
  const int log_level_;
  int recoveries_ = 0;
};

class TwiceKilledConversion : public KilledConversion {};

TEST_P(KilledConversion, LosesNothing) {
  const std::string directory = MakeGroup();
  std::set<Shape> seen;
  const int stops = StepThroughOpening(directory, [&] {
    if (!HasFailure() && seen.insert(ShapeOf(directory)).second) {
      ExpectRecovery(directory);
    }
  });
  Report(stops);
  EXPECT_GT(stops, 150) << "the sweep has missed most of the opening";
  // At least: untouched, second name, new file being made, made and filled, old one removed, new
  // one renamed, second name gone.
  EXPECT_GE(recoveries_, 7);
}

TEST_P(TwiceKilledConversion, LosesNothing) {
  const packetdb::test::Sweep sweep(4);
  SCOPED_TRACE(packetdb::test::SeedText(sweep.seed()));
  const std::string directory = MakeGroup();
  std::set<Shape> first;
  std::set<Shape> second;
  int stops = 0;
  int killed_again = 0;
  StepThroughOpening(directory, [&] {
    if (HasFailure() || !first.insert(ShapeOf(directory)).second) return;
    if (!sweep.Takes(static_cast<int>(first.size()))) return;
    ++killed_again;
    const std::string copy = CopyOf(directory, "killed again");
    const int recovery = StepThroughOpening(copy, [&] {
      if (!HasFailure() && second.insert(ShapeOf(copy)).second) ExpectRecovery(copy);
    });
    EXPECT_GT(recovery, 50);
    stops += recovery;
  });
  Report(stops);
  EXPECT_GT(stops * sweep.parts(), 1000) << "the sweep has missed most of the recoveries";
  EXPECT_GE(recoveries_, killed_again);
}

// Once the old file has lost its first name, a wish to keep it can no longer be taken for granted.
TEST_P(KilledConversion, RemembersThatTheOldFileIsToBeKept) {
  const std::string directory = MakeGroup();
  int checked = 0;
  StepThroughOpening(directory, [&] {
    const State state = Snapshot(directory);
    const auto old = state.find("lan.journal.~old");
    const auto journal = state.find("lan.journal");
    if (old == state.end() || (journal != state.end() && journal->second == old->second)) return;
    const std::string copy = CopyOf(directory, "without the wish");
    const auto conversion = GroupWriter(OptionsIn(copy, false)).conversion();
    ASSERT_TRUE(conversion);
    EXPECT_EQ(conversion->kept.empty(), !keep_old());
    EXPECT_EQ(std::filesystem::exists(copy + "/lan.journal.pre-v4"), keep_old());
    ++checked;
  });
  EXPECT_GT(checked, 5);
}

std::string NameOf(const testing::TestParamInfo<KilledConversion::ParamType>& row) {
  const auto& [format, count, keep_old] = row.param;
  return std::string(format == JournalFormat::k3 ? "Format3" : "Format41") + "Of" +
         std::to_string(count) + (keep_old ? "Kept" : "NotKept");
}

constexpr auto kFormats = {JournalFormat::k3, JournalFormat::k41};

INSTANTIATE_TEST_SUITE_P(Every, KilledConversion,
                         testing::Combine(testing::ValuesIn(kFormats),
                                          testing::Values(0, 1, 2, 101), testing::Bool()),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(Every, TwiceKilledConversion,
                         testing::Combine(testing::ValuesIn(kFormats), testing::Values(0, 2),
                                          testing::Bool()),
                         NameOf);

}  // namespace
}  // namespace packetdb::host::test
