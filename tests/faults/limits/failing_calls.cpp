// Lets the first, the second, the third ... call of the system fail, until an operation makes no
// more calls, and looks after each whether the record file still has all that it acknowledged.
#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include "tests/faults/limits/operations.h"
#include "tests/faults/limits/system_calls.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

std::string Text(const Operation& operation, const FaultKind& kind, const CallReport& report,
                 std::uint64_t nth) {
  return fmt::format("{}, call {} ({}) {}", operation.name, nth, report.first_failed, kind.name);
}

// A creation whose cleaning up fails as well, or that takes its own unfinished file for another's,
// leaves that one to the next creation.
void RequireCleanedUp(const std::string& when, const std::string& folder, DrivenJournal& journal,
                      Verdict* verdict) {
  verdict->Require(journal.Open(kModeAnew) >= 0, when + ": it can be made anew");
  journal.Close();
  verdict->Require(NamesIn(folder) == "journal ", when + " leaves for good: " + NamesIn(folder));
}

bool MayLeaveSomething(const FaultKind& kind, const CallReport& report) {
  return kind.for_good || kind.error == EAGAIN || report.unlink_failed;
}

// After the fault is gone: everything is there, and the journal goes on.
void RequireAllThere(const std::string& when, const Operation& operation, DrivenJournal& journal,
                     Verdict* verdict) {
  if (journal.is_open()) {
    verdict->Require(journal.Append() >= 0, when + ": it goes on");
    verdict->Require(journal.Merge() >= 0, when + ": it goes on merging");
    journal.AppendMany(10);
  }
  journal.Close();
  const bool is_there = std::filesystem::exists(journal.path());
  verdict->Require(is_there || operation.makes_file, when + ": the file is there");
  if (!is_there) {
    const int result = journal.Open();
    verdict->Require(result >= 0, when + ": it can be made then: " + Describe(result));
  }
  journal.Judge(when, verdict);
  verdict->Require(journal.Open() >= 0, when + ": it can be opened");
  journal.AppendMany(3);
  journal.Judge(when + ", and then some", verdict);
}

// Whether the operation made so many calls.
bool Try(const Operation& operation, const FaultKind& kind, std::uint64_t nth,
         const std::string& folder, Verdict* verdict) {
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::filesystem::remove(entry.path());
  }
  alarm(kTrialSeconds);  // of each attempt anew: a trial may have thousands
  DrivenJournal journal(folder + "/journal", operation.capacity);
  operation.prepare(journal);
  Arm({.nth = nth, .for_good = kind.for_good, .error = kind.error});
  const int result = operation.act(journal, verdict);
  const CallReport report = Disarm();
  const std::string when = Text(operation, kind, report, nth);
  const bool must_succeed = report.failed == 0 || kind.error == EINTR;
  verdict->Require(result >= 0 || !must_succeed, when + " succeeds: " + Describe(result));
  if (result < 0) RequireRefusal(when, result, verdict);
  RequireAllThere(when, operation, journal, verdict);
  const bool leaves = NamesIn(folder) != "journal ";
  verdict->Require(!leaves || MayLeaveSomething(kind, report),
                   when + " leaves: " + NamesIn(folder));
  if (leaves) RequireCleanedUp(when, folder, journal, verdict);
  return report.calls >= nth;
}

void TryCalls(const Operation& operation, const FaultKind& kind, const Stride& stride,
              const std::string& folder, Verdict* verdict) {
  std::uint64_t nth = stride.first;
  while (Try(operation, kind, nth, folder, verdict)) nth += stride.every;
}

std::uint64_t CountCalls(const Operation& operation, const std::string& folder) {
  const std::string path = folder + "/counted";
  Verdict ignored;
  DrivenJournal journal(path, operation.capacity);
  operation.prepare(journal);
  Arm({});
  operation.act(journal, &ignored);
  const CallReport report = Disarm();
  journal.Close();
  std::filesystem::remove(path);
  return report.calls;
}

struct Options {
  std::string only;
  std::uint64_t every = 1;
  std::uint64_t most = 100;  // calls of an operation that are tried
};

// Returns how many calls all operations make.
std::uint64_t RunTrials(const Way& way, const Options& options, const std::string& folder,
                        std::mt19937_64& random, Verdict* verdict) {
  host::SetRecordFileSettings(way.settings);
  std::uint64_t calls = 0;
  for (const Operation& operation : Operations()) {
    if (!options.only.empty() && operation.name != options.only) continue;
    const std::uint64_t of_it = CountCalls(operation, folder);
    fmt::print("{}, {}: {} calls\n", way.name, operation.name, of_it);
    calls += of_it;
    // Many calls are many of one kind.
    const std::uint64_t every = std::max(options.every, of_it / options.most);
    for (const FaultKind& kind : FaultKinds()) {
      const Stride stride = {1 + random() % every, every};
      const auto trial = [&](Verdict& found) { TryCalls(operation, kind, stride, folder, &found); };
      RunTrial(fmt::format("{}, {}, calls {}", way.name, operation.name, kind.name), trial,
               verdict);
    }
  }
  return calls;
}

Outcome RunAll(const Options& options, const Common& common) {
  Verdict verdict;
  std::mt19937_64 random(common.seed);
  std::uint64_t calls = 0;
  for (const Way& way : Ways()) {
    calls += RunTrials(way, options, common.directory, random, &verdict);
  }
  verdict.Require(calls != 0, "there are calls that can fail");
  return {verdict.broken(), fmt::format("{} calls, {} ways to fail, {} promises looked at", calls,
                                        FaultKinds().size(), verdict.looked_at())};
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  using namespace packetdb::faults;
  const std::string description = "lets each call of the system fail that a record file makes";
  return Run(argc, argv, description, [](CLI::App& app) {
    auto options = std::make_shared<Options>();
    app.add_option("--op", options->only, "the only operation to try; all, unless given");
    AddStride(app, &options->every);
    app.add_option("--most", options->most, "calls of an operation that fail in turn, at most")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    return [options](const Common& common) { return RunAll(*options, common); };
  });
}
