// Processes killed at random moments while they append and overwrite. What they had been told is
// stored must be there, as it was last stored, and nothing else.
#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <stdexcept>
#include <thread>

#include "host/record_file/modes.h"
#include "platform/record_file.h"
#include "tests/faults/death/acknowledgements.h"
#include "tests/faults/death/child.h"
#include "tests/faults/death/violations.h"
#include "tests/faults/program.h"
#include "tests/support/seed.h"

namespace packetdb::faults {
namespace {

using std::chrono::microseconds;

constexpr int kTicketMask = 0x7FFFFFFF;
constexpr std::uint64_t kRecent = 64;  // overwrites hit one of the newest
// Many lives of one file, so that it has wrapped in most, and many files.
constexpr std::uint64_t kCyclesPerFile = 50;
// A file without a bound stops growing here, so that reading it does not take all the time.
constexpr std::uint64_t kMostUnbounded = 10000;
constexpr std::array<unsigned long, 5> kCapacities = {1, 5, 64, 1000, kNoBound};

struct Options {
  std::uint64_t cycles = 500;
  std::size_t record_size = 72;
  unsigned long capacity = 0;
};

// What a child does until it is killed. The status says which operation was refused.
int Work(const FileOptions& options, Acknowledgements& acknowledged, std::uint32_t seed) {
  CDbFile file;
  if (Open(file, options, host::mode::kWrite) < 0) return 1;
  test::Random random(seed);
  const bool bounded = options.capacity != kNoBound;
  for (;;) {
    const std::uint64_t next = acknowledged.next();
    const bool may_append = bounded || next < kMostUnbounded;
    if (next == 0 || (may_append && random.OneIn(2))) {
      acknowledged.Announce(Action::kAppend, {.number = next, .version = 0});
      if (Append(file, options, {.number = next, .version = 0}) !=
          static_cast<int>(next & kTicketMask)) {
        return 2;
      }
    } else {
      const std::uint64_t ages = std::min(acknowledged.Kept(), kRecent);
      const std::uint64_t number = next - 1 - random.Below(static_cast<std::uint32_t>(ages));
      const Identity identity = {.number = number, .version = acknowledged.VersionOf(number) + 1};
      acknowledged.Announce(Action::kOverwrite, identity);
      if (Overwrite(file, options, static_cast<int>(number & kTicketMask), identity) < 0) return 3;
    }
    acknowledged.Confirm();
  }
}

class KillCycles {
 public:
  KillCycles(const Options& options, const Common& common)
      : options_(options),
        random_(static_cast<std::uint32_t>(common.seed)),
        file_({.path = common.directory + "/journal", .record_size = options.record_size}) {}

  Outcome Run() {
    for (std::uint64_t cycle = 0; cycle < options_.cycles; ++cycle) {
      if (cycle % kCyclesPerFile == 0) StartFile();
      LetWorkAndKill();
      Judge();
    }
    operations_ += acknowledged_->done();
    return {.violations = violations_.count(), .figures = Figures()};
  }

 private:
  void StartFile() {
    if (acknowledged_) operations_ += acknowledged_->done();
    file_.capacity = options_.capacity != 0 ? options_.capacity : random_.OneOf(kCapacities);
    acknowledged_ = std::make_unique<Acknowledgements>(std::min(file_.capacity, kMostUnbounded));
    const Opened made = LookAt(file_, host::mode::kWrite | host::mode::kCreateAnew);
    if (made.result < 0) throw std::runtime_error("cannot make a file: " + Describe(made));
  }

  // Some kills are to hit the opening, after a kill a recovery: those wait for nothing.
  void LetWorkAndKill() {
    const std::uint32_t seed = random_.Bits();
    Child child([&] { return Work(file_, *acknowledged_, seed); });
    const std::uint64_t done = acknowledged_->done();
    if (random_.OneIn(4)) {
      std::this_thread::sleep_for(microseconds(random_.Below(1000)));
    } else {
      while (acknowledged_->done() == done && child.IsRunning()) {
        std::this_thread::sleep_for(microseconds(10));
      }
      std::this_thread::sleep_for(microseconds(300 + random_.Below(1500)));
    }
    if (!child.Kill()) {
      throw std::runtime_error(fmt::format("a child gave up with status {}", child.Wait()));
    }
    while_opening_ += acknowledged_->done() == done ? 1 : 0;
    in_the_act_ += acknowledged_->InTheAct() ? 1 : 0;
    wrapped_ += acknowledged_->next() > file_.capacity ? 1 : 0;
  }

  // Half of the time the next child finds the file as it was left.
  void Judge() {
    const Opened read = LookAt(file_, host::mode::kRead);
    Count(read, "a reader");
    if (random_.OneIn(2)) {
      const Opened recovered = LookAt(file_, host::mode::kWrite);
      Count(recovered, "a writer");
      if (!(recovered == read)) {
        violations_.Add("a reader sees something else than a writer recovers");
      }
    }
    acknowledged_->TakeOver(read.view);
  }

  void Count(const Opened& opened, const char* who) {
    const Damage damage = acknowledged_->Compare(opened.view);
    damage_ += damage;
    if (damage.Sum() != 0 || opened.result < 0) {
      violations_.Add(fmt::format("{} of {} records finds {}; {} were appended", who,
                                  file_.capacity, Describe(opened), acknowledged_->next()));
    }
  }

  std::string Figures() const {
    return fmt::format(
        "{} kills: {} in the middle of an operation, {} before the first one had returned, {} of a "
        "full ring; {} operations returned\n{} records lost, {} torn, {} of a wrong version",
        options_.cycles, in_the_act_, while_opening_, wrapped_, operations_, damage_.lost,
        damage_.torn, damage_.wrong);
  }

  Options options_;
  test::Random random_;
  FileOptions file_;
  std::unique_ptr<Acknowledgements> acknowledged_;
  Violations violations_;
  Damage damage_;
  std::uint64_t operations_ = 0;
  std::uint64_t in_the_act_ = 0;
  std::uint64_t while_opening_ = 0;
  std::uint64_t wrapped_ = 0;
};

Body AddOptions(CLI::App& app) {
  auto options = std::make_shared<Options>();
  app.add_option("--cycles", options->cycles, "how often to kill")->capture_default_str();
  app.add_option("--record-size", options->record_size, "bytes of a record")
      ->check(CLI::Range(kSmallestRecord, std::size_t{1} << 20U))
      ->capture_default_str();
  app.add_option("--capacity", options->capacity, "records that the file keeps; 0: drawn")
      ->capture_default_str();
  return [options](const Common& common) { return KillCycles(*options, common).Run(); };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Kills writers of a record file at random moments.",
                               packetdb::faults::AddOptions);
}
