// Lets the first, the second, the third ... call of the system fail while a journal of an earlier
// format is converted. The next conversion, with nothing failing, must give every record.
#include <cerrno>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <string>

#include "tests/faults/limits/old_journal.h"
#include "tests/faults/limits/operations.h"
#include "tests/faults/limits/system_calls.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr int kRecords = 5;

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

void TryEachCall(OldFormat format, const FaultKind& kind, const std::string& folder,
                 Verdict* verdict) {
  std::uint64_t nth = 1;
  while (Convert(format, kind, nth, folder, verdict) >= nth) ++nth;
  fmt::print("format {}, calls {}: {} tried\n", NameOf(format), kind.name, nth - 1);
}

Outcome RunTrials(const Common& common) {
  Verdict verdict;
  for (const OldFormat format : {OldFormat::k3, OldFormat::k41}) {
    for (const FaultKind& kind : FaultKinds()) {
      const auto trial = [&](Verdict& found) {
        TryEachCall(format, kind, common.directory, &found);
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
  return Run(argc, argv, description, [](CLI::App&) { return RunTrials; });
}
