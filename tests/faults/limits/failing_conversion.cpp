// Lets the first, the second, the third ... call of the system fail while a journal of an earlier
// format is converted. The next conversion, with nothing failing, must give every record.
#include <cerrno>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <random>
#include <string>

#include "tests/faults/limits/old_journal.h"
#include "tests/faults/limits/operations.h"
#include "tests/faults/limits/system_calls.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr int kRecords = 5;

using Random = std::mt19937_64;

// Returns how many calls the conversion made.
std::uint64_t Convert(OldFormat format, const FaultKind& kind, std::uint64_t nth,
                      const std::string& folder, Verdict* verdict) {
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::filesystem::remove(entry.path());
  }
  const OldJournal journal(folder + "/journal", format, kRecords);
  Arm({.nth = nth, .for_good = kind.for_good, .error = kind.error});
  const std::string error = journal.Convert();
  const CallReport report = Disarm();
  const std::string when = fmt::format("format {}, call {} ({}) {}", NameOf(format), nth,
                                       report.first_failed, kind.name);
  const bool must_succeed = report.failed == 0 || kind.error == EINTR;
  verdict->Require(error.empty() || !must_succeed, when + " succeeds: " + error);
  if (error.empty()) journal.RequireConverted(when, verdict);
  const std::string again = journal.Convert();
  verdict->Require(again.empty(), when + ": the next one succeeds: " + again);
  journal.RequireConverted(when + ", and then again", verdict);
  const bool leaves = NamesIn(folder) != "journal ";
  verdict->Require(!leaves || report.unlink_failed, when + " leaves: " + NamesIn(folder));
  return report.calls;
}

void TryCalls(OldFormat format, const FaultKind& kind, const Stride& stride,
              const std::string& folder, Verdict* verdict) {
  std::uint64_t nth = stride.first;
  std::uint64_t calls = 0;
  while ((calls = Convert(format, kind, nth, folder, verdict)) >= nth) nth += stride.every;
  fmt::print("format {}, calls {}: {} of {} tried\n", NameOf(format), kind.name,
             (nth - stride.first) / stride.every, calls);
}

Outcome RunTrials(std::uint64_t every, const Common& common) {
  Verdict verdict;
  Random random(common.seed);
  for (const OldFormat format : {OldFormat::k3, OldFormat::k41}) {
    for (const FaultKind& kind : FaultKinds()) {
      const Stride stride = {1 + random() % every, every};
      const auto trial = [&](Verdict& found) {
        TryCalls(format, kind, stride, common.directory, &found);
      };
      RunTrial(fmt::format("format {}, calls {}", NameOf(format), kind.name), trial, &verdict);
    }
  }
  return {verdict.broken(), fmt::format("{} promises looked at", verdict.looked_at())};
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  using namespace packetdb::faults;
  const std::string description = "lets each call of the system fail that a conversion makes";
  return Run(argc, argv, description, [](CLI::App& app) {
    auto every = std::make_shared<std::uint64_t>(1);
    AddStride(app, every.get());
    return [every](const Common& common) { return RunTrials(*every, common); };
  });
}
