// Processes killed at random moments while they append and overwrite. What they had been told is
// stored must be there, as it was last stored, and nothing else.
#include <algorithm>
#include <array>
#include <chrono>
#include <fmt/format.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "host/record_file/modes.h"
#include "host/record_file/settings.h"
#include "platform/record_file.h"
#include "tests/faults/death/acknowledgements.h"
#include "tests/faults/death/child.h"
#include "tests/faults/death/layout.h"
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
  bool written = false;
  std::string broken;
};

// What a child does until it is killed. The status says which operation was refused.
class Work {
 public:
  Work(const FileOptions& options, Acknowledgements& acknowledged, std::uint32_t seed)
      : options_(options), acknowledged_(acknowledged), random_(seed) {}

  int Run(bool without_redo) {
    if (Open(file_, options_, host::mode::kWrite) < 0) return 1;
    if (without_redo) in_place_.emplace(options_.path);
    const bool bounded = options_.capacity != kNoBound;
    for (;;) {
      const std::uint64_t next = acknowledged_.next();
      const bool may_append = bounded || next < kMostUnbounded;
      const bool appends = next == 0 || (may_append && random_.OneIn(2));
      if (appends && !AppendNext(next)) return 2;
      if (!appends && !OverwriteRecent(next)) return 3;
      acknowledged_.Confirm();
    }
  }

 private:
  bool AppendNext(std::uint64_t next) {
    const Identity identity = {.number = next, .version = 0};
    acknowledged_.Announce(Action::kAppend, identity);
    return Append(file_, options_, identity) == static_cast<int>(next & kTicketMask);
  }

  bool OverwriteRecent(std::uint64_t next) {
    const std::uint64_t ages = std::min(acknowledged_.Kept(), kRecent);
    const std::uint64_t number = next - 1 - random_.Below(static_cast<std::uint32_t>(ages));
    const Identity identity = {.number = number, .version = acknowledged_.VersionOf(number) + 1};
    const RecordBytes record = MakeRecord(identity, options_.record_size);
    acknowledged_.Announce(Action::kOverwrite, identity);
    if (!in_place_) {
      return file_.WriteRecord(static_cast<int>(number & kTicketMask), record.data()) >= 0;
    }
    in_place_->Overwrite(number, record.data());
    return true;
  }

  const FileOptions& options_;
  Acknowledgements& acknowledged_;
  test::Random random_;
  CDbFile file_;
  std::optional<InPlaceWriter> in_place_;
};

class KillCycles {
 public:
  KillCycles(const Options& options, const Common& common)
      : options_(options),
        ends_when_violated_(common.expect_failure),
        random_(static_cast<std::uint32_t>(common.seed)),
        file_({.path = common.directory + "/journal", .record_size = options.record_size}) {}

  Outcome Run() {
    Use(host::SyncMode::kPeriodic);
    for (; cycles_ < options_.cycles && !IsOver(); ++cycles_) {
      const std::uint64_t violations = violations_.count();
      if (cycles_ % kCyclesPerFile == 0 || is_spoiled_) StartFile();
      LetWorkAndKill();
      Judge();
      is_spoiled_ = violations_.count() != violations;
    }
    operations_ += acknowledged_->done();
    return {.violations = violations_.count(), .figures = Figures()};
  }

 private:
  // How soon a control is noticed is chance, so it gets many cycles and takes what it needs.
  bool IsOver() const { return ends_when_violated_ && violations_.count() != 0; }

  // Flushes come often enough for kills to meet them.
  void Use(host::SyncMode mode) const {
    host::SetRecordFileSettings(
        {.sync = {.mode = mode, .interval = std::chrono::milliseconds(1), .bytes = 100000},
         .by_calls = options_.written});
  }

  void StartFile() {
    if (acknowledged_) operations_ += acknowledged_->done();
    file_.capacity = options_.capacity != 0 ? options_.capacity : random_.OneOf(kCapacities);
    acknowledged_ = std::make_unique<Acknowledgements>(std::min(file_.capacity, kMostUnbounded));
    const Opened made = LookAt(file_, host::mode::kWrite | host::mode::kCreateAnew);
    if (made.result < 0) throw std::runtime_error("cannot make a file: " + Describe(made));
    slots_ = SlotsOf(file_.path);
  }

  // Some kills are to hit the opening, after a kill a recovery: those wait for nothing.
  void LetWorkAndKill() {
    const std::uint32_t seed = random_.Bits();
    Child child([&] { return Work(file_, *acknowledged_, seed).Run(options_.broken == "redo"); });
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
    wrapped_ += file_.capacity != kNoBound && acknowledged_->next() > slots_ ? 1 : 0;
  }

  // Half of the time the next child finds the file as it was left.
  void Judge() {
    const Opened read = LookAt(file_, host::mode::kRead);
    Count(read, "a reader");
    if (random_.OneIn(2)) {
      const Opened recovered = LookAt(file_, host::mode::kWrite);
      Count(recovered, "a writer");
      const std::uint64_t losses = LossesOf(file_.path);
      if (losses != 0) violations_.Add(fmt::format("a writer counts {} losses", losses));
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
        "ring that had come round; {} operations returned\n{} records lost, {} torn, {} of a wrong "
        "version",
        cycles_, in_the_act_, while_opening_, wrapped_, operations_, damage_.lost, damage_.torn,
        damage_.wrong);
  }

  Options options_;
  const bool ends_when_violated_;
  test::Random random_;
  FileOptions file_;
  std::unique_ptr<Acknowledgements> acknowledged_;
  Violations violations_;
  Damage damage_;
  std::uint64_t cycles_ = 0;
  std::uint64_t operations_ = 0;
  std::uint64_t in_the_act_ = 0;
  std::uint64_t while_opening_ = 0;
  std::uint64_t wrapped_ = 0;
  std::uint64_t slots_ = 0;
  bool is_spoiled_ = false;  // the file is not as it should be: the next cycle takes another
};

Body AddOptions(CLI::App& app) {
  auto options = std::make_shared<Options>();
  app.add_option("--cycles", options->cycles, "how often to kill")->capture_default_str();
  app.add_option("--record-size", options->record_size, "bytes of a record")
      ->check(CLI::Range(kSmallestRecord, std::size_t{host::kMaxRecordSize}))
      ->capture_default_str();
  app.add_option("--capacity", options->capacity, "records that the file keeps; 0: drawn")
      ->capture_default_str();
  app.add_flag("--written", options->written, "change files by calls, not by a mapping");
  app.add_option("--broken", options->broken,
                 "a control: overwrites without the redo frame must be noticed")
      ->check(CLI::IsMember({"redo"}));
  return [options](const Common& common) { return KillCycles(*options, common).Run(); };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Kills writers of a record file at random moments.",
                               packetdb::faults::AddOptions);
}
