// Two processes that convert the same journal, one of them stopped at every system call in turn
// while the other does all of its work.
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <iostream>

#include "host/journals/conversion.h"
#include "host/journals/error.h"
#include "host/log/log.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"
#include "tests/host/record_file/stepper.h"
#include "tests/support/sweep.h"

namespace packetdb::host::test {
namespace {

constexpr int kCount = 2;

struct Start {
  const char* name;
  JournalFormat format;
  void (*make)(const std::string& journal, JournalFormat format);
};

void PrintTo(const Start& start, std::ostream* out) { *out << start.name; }

void MakeUntouched(const std::string& journal, JournalFormat format) {
  MakeOld(journal, format, kCount);
}

void MakeBegun(const std::string& journal, JournalFormat format) {
  MakeOld(journal, format, kCount);
  std::filesystem::create_hard_link(journal, journal + ".~old");
}

void MakeRemoved(const std::string& journal, JournalFormat format) {
  MakeOld(journal + ".~old", format, kCount);
}

// Converts; true when it did, false when another process had done it or is at it. Any other outcome
// ends the process.
bool Convert(const std::string& journal) {
  try {
    return ConvertIfOld(journal, {}).has_value();
  } catch (const JournalError& error) {
    if (error.result() == kInUse) return false;
    std::cerr << error.what() << '\n';
    std::abort();
  }
}

class RacingConversion : public testing::TestWithParam<Start> {
 protected:
  RacingConversion() : log_level_(LogLevel()) { SetLogLevel(kLowestLogLevel); }
  ~RacingConversion() override { SetLogLevel(log_level_); }

  // Lets the other process in at stop number `stop` of the first; false when there is none.
  bool RaceAt(int stop) {
    const OldGroup group;
    const JournalFormat format = GetParam().format;
    GetParam().make(group.Path(), format);
    int stops = 0;
    StepThrough(
        Step::kSystemCall, [&] { Convert(group.Path()); },
        [&](bool returned) {
          if (!returned && stops++ == stop) won_ += Convert(group.Path()) ? 1 : 0;
        });
    EXPECT_FALSE(Convert(group.Path())) << "one of the two has done it";
    EXPECT_EQ(NumbersIn(group.Path(), format), Numbers(0, kCount)) << "stop " << stop;
    EXPECT_THAT(NamesIn(group.directory()), testing::ElementsAre("lan.journal"));
    return stop < stops;
  }

  const int log_level_;
  int won_ = 0;
};

TEST_P(RacingConversion, LosesNothingWhoeverIsFirst) {
  const packetdb::test::Sweep sweep(4);
  SCOPED_TRACE(packetdb::test::SeedText(sweep.seed()));
  int stop = sweep.first();
  int raced = 0;
  for (; RaceAt(stop) && !HasFailure(); stop += sweep.parts()) ++raced;
  RecordProperty("interleavings", raced);
  std::cout << "[ raced    ] in " << raced << " interleavings, " << won_
            << " won by the second process\n";
  EXPECT_GT(stop, 100) << "the sweep has missed most of the conversion";
  EXPECT_GT(won_, 0);
  EXPECT_LT(won_, raced);
}

const Start kStarts[] = {
    {"Format3", JournalFormat::k3, MakeUntouched},
    {"Format41", JournalFormat::k41, MakeUntouched},
    {"BegunByAThird", JournalFormat::k41, MakeBegun},
    {"LeftWithoutAJournalByAThird", JournalFormat::k3, MakeRemoved},
};

INSTANTIATE_TEST_SUITE_P(Every, RacingConversion, testing::ValuesIn(kStarts),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace packetdb::host::test
