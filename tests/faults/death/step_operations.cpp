// Kills at every instruction: what a record file is after each single one of an operation is what a
// kill there would leave, and must show the records as they were before the operation or as they
// are after it.
#include <chrono>
#include <filesystem>
#include <fmt/format.h>
#include <memory>

#include "host/record_file/settings.h"
#include "tests/faults/death/file_scenarios.h"
#include "tests/faults/death/folder_watch.h"
#include "tests/faults/death/layout.h"
#include "tests/faults/death/record_scenarios.h"
#include "tests/faults/death/tracee.h"
#include "tests/faults/death/violations.h"
#include "tests/faults/death/witness.h"
#include "tests/faults/program.h"
#include "tests/support/seed.h"

namespace packetdb::faults {
namespace {

struct Options {
  std::string operation = "all";
  std::uint32_t every = 1;
  bool compound = false;
  bool restarted = false;
  std::uint32_t compound_every = 1;
  std::size_t record_size = 72;
  bool written = false;
  std::string broken;
};

enum class Machine { kGoesOn, kWasRestarted };

struct Counts {
  std::uint64_t instructions = 0;
  std::uint64_t looks = 0;
  std::uint64_t system_calls = 0;
  std::uint64_t states = 0;
  std::uint64_t recoveries = 0;  // states whose recovery was stepped through as well

  Counts& operator+=(const Counts& more) {
    instructions += more.instructions;
    looks += more.looks;
    system_calls += more.system_calls;
    states += more.states;
    recoveries += more.recoveries;
    return *this;
  }
};

std::string Describe(const Counts& counts) {
  return fmt::format("{} instructions, looked after {} ({} system calls), {} states, {} recoveries",
                     counts.instructions, counts.looks, counts.system_calls, counts.states,
                     counts.recoveries);
}

class StepOperations {
 public:
  StepOperations(const Options& options, const Common& common)
      : options_(options),
        folder_(common.directory),
        random_(static_cast<std::uint32_t>(common.seed)) {}

  Outcome Run() {
    const OneProcessor here;
    // The thread that flushes has no part in what a kill leaves, and does not come along to a fork.
    host::SetRecordFileSettings(
        {.sync = {.mode = host::SyncMode::kNever}, .by_calls = options_.written});
    Counts sum;
    for (const auto& makers : {RecordMakers(), FileMakers()}) {
      for (const NamedMaker& maker : makers) {
        if (options_.operation == "all" || options_.operation == maker.operation) sum += Try(maker);
      }
    }
    return {.violations = violations_.count(), .figures = "in all " + Describe(sum)};
  }

 private:
  Counts Try(const NamedMaker& maker) {
    const Workplace place = NewPlace();
    const Scenario scenario = maker.make(place);
    const Counts counts = StepThrough(scenario, place, maker.name, options_.compound);
    fmt::print("{}: {}\n", maker.name, Describe(counts));
    return counts;
  }

  Workplace NewPlace() {
    const Workplace place = {.folder = fmt::format("{}/{}", folder_, places_++),
                             .record_size = options_.record_size,
                             .without_redo = options_.broken == "redo"};
    std::filesystem::create_directory(place.folder);
    return place;
  }

  Counts StepThrough(const Scenario& scenario, const Workplace& place, const std::string& name,
                     bool compound) {
    Counts counts;
    FolderWatch watch(place.folder);
    Witness witness(scenario, name, place.folder + ".copy", violations_);
    Tracee tracee(scenario.act);
    bool called = true;
    do {
      ++counts.looks;
      counts.system_calls += called ? 1 : 0;
      if (watch.Changed(called) || tracee.Returned()) {
        ++counts.states;
        const Found found = witness.Judge(watch, tracee.Returned());
        if (compound && random_.OneIn(options_.compound_every)) {
          counts += StepThroughRecovery(scenario, watch, found, name, Machine::kGoesOn);
          if (options_.restarted) {
            counts += StepThroughRecovery(scenario, watch, found, name, Machine::kWasRestarted);
          }
        }
      }
      if (tracee.Returned()) break;
      called = tracee.AtSystemCall();
      tracee.StepMany(1 + random_.Below(2 * options_.every - 1));
    } while (true);
    counts.instructions += tracee.instructions();
    return counts;
  }

  Counts StepThroughRecovery(const Scenario& scenario, const FolderWatch& watch, const Found& found,
                             const std::string& name, Machine machine) {
    const Workplace place = NewPlace();
    watch.CopyTo(place.folder);
    const Scenario again = OpeningAgain(scenario, place, found.read, found.written);
    Counts counts;
    if (machine == Machine::kGoesOn) {
      counts = StepThrough(again, place, name + ", then recovery", false);
      ++counts.recoveries;
    } else if (std::filesystem::exists(again.reopen.path) && MoveToOtherBoot(again.reopen.path)) {
      counts = StepThrough(again, place, name + ", then recovery after a restart", false);
      ++counts.recoveries;
    }
    std::filesystem::remove_all(place.folder);
    std::filesystem::remove_all(place.folder + ".copy");
    return counts;
  }

  Options options_;
  std::string folder_;
  test::Random random_;
  Violations violations_;
  int places_ = 0;
};

Body AddOptions(CLI::App& app) {
  auto options = std::make_shared<Options>();
  app.add_option("--op", options->operation, "what to step through")
      ->check(CLI::IsMember({"all", "append", "merge", "done", "open", "create", "resize"}))
      ->capture_default_str();
  app.add_option("--every", options->every,
                 "look after one in so many instructions, and around each system call")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_flag("--compound", options->compound, "step through the recovery of each state as well");
  app.add_flag("--restarted", options->restarted,
               "with --compound: also through that after a restart of the machine");
  app.add_option("--compound-every", options->compound_every, "of one in so many states only")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--record-size", options->record_size, "bytes of a record")
      ->check(CLI::Range(kSmallestRecord, std::size_t{4096}))
      ->capture_default_str();
  app.add_flag("--written", options->written, "change files by calls, not by a mapping");
  app.add_option("--broken", options->broken,
                 "a control: overwrites without the redo frame must be noticed")
      ->check(CLI::IsMember({"redo"}));
  return [options](const Common& common) { return StepOperations(*options, common).Run(); };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Kills a writer of a record file at every instruction.",
                               packetdb::faults::AddOptions);
}
