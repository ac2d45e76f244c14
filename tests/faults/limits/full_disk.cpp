// Disks that are full, or nearly so, in the moments in which a record file wants room; and all the
// time otherwise.
#include <filesystem>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/record_file/probe.h"
#include "host/record_file/result.h"
#include "tests/faults/limits/driven_journal.h"
#include "tests/faults/limits/log_lines.h"
#include "tests/faults/limits/old_journal.h"
#include "tests/faults/limits/small_disk.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr std::uint64_t kDiskBytes = 8U << 20U;
constexpr std::size_t kMostLines = 2;  // of the log, however often a full disk is met

struct Options {
  std::uint64_t step = 1;  // between the numbers of free blocks that are tried
  std::uint64_t laps = 3;  // of appends on the full disk
};

struct Place {
  std::string where;
  SmallDisk* disk;
  const Options* options;
};

// What is there besides the filler and what mkfs makes.
std::string NamesOn(const SmallDisk& disk) {
  std::string names;
  for (const auto& entry : std::filesystem::directory_iterator(disk.Path(""))) {
    const std::string name = entry.path().filename().string();
    if (name != "filler" && name != "lost+found") names += name + " ";
  }
  return names;
}

void RemoveAllBut(const SmallDisk& disk, const std::string& name) {
  for (const auto& entry : std::filesystem::directory_iterator(disk.Path(""))) {
    const std::string other = entry.path().filename().string();
    if (other != name && other != "lost+found") std::filesystem::remove(entry.path());
  }
}

// Tries with more and more free blocks until `attempt` says that there were enough. The disk is
// filled anew for each: an attempt may leave something on it.
using Attempt = std::function<bool(const std::string& when)>;
void WithMoreAndMoreRoom(const Place& place, const std::string& what, const Attempt& attempt,
                         Verdict* verdict) {
  const std::uint64_t all = place.disk->FreeBlocks();
  for (std::uint64_t blocks = 0; blocks < all; blocks += place.options->step) {
    place.disk->FillTo(blocks);
    const bool enough = attempt(fmt::format("{} with {} free blocks", what, blocks));
    place.disk->Free();
    if (!enough) continue;
    fmt::print("{}, {}: needs at most {} free blocks of {} bytes\n", place.where, what, blocks,
               place.disk->block_bytes());
    return;
  }
  verdict->Require(false, what + " succeeds when there is room");
}

void Create(const Place& place, unsigned long capacity, Verdict* verdict) {
  const auto attempt = [&](const std::string& when) {
    const std::uint64_t free_before = place.disk->FreeBlocks();
    DrivenJournal journal(place.disk->Path("journal"), capacity);
    const int result = journal.Open();
    if (result >= 0) {
      journal.AppendMany(100);
      journal.Judge(when, verdict);
      RemoveAllBut(*place.disk, "filler");
      return true;
    }
    verdict->Require(result == host::kNoSpace, when + " says so, but: " + Describe(result));
    verdict->Require(NamesOn(*place.disk).empty(), when + " leaves: " + NamesOn(*place.disk));
    verdict->Require(place.disk->FreeBlocks() == free_before, when + " takes nothing");
    return false;
  };
  const std::string what = capacity == kNoBound ? "creation without a bound" : "creation";
  WithMoreAndMoreRoom(place, what, attempt, verdict);
}

void FillAfterCreation(const Place& place, Verdict* verdict) {
  constexpr unsigned long kCapacity = 3000;
  DrivenJournal journal(place.disk->Path("journal"), kCapacity);
  ForgetLogLines();
  verdict->Require(journal.Open() >= 0, "it can be created");
  journal.AppendMany(kCapacity / 3);
  place.disk->FillTo(0);
  journal.AppendMany(kCapacity * place.options->laps);
  journal.Judge("written on a full disk", verdict);
  for (int i = 0; i < 3; ++i) {
    verdict->Require(journal.Open(kModeWrite) >= 0, "it can be opened on a full disk");
    journal.AppendMany(kCapacity / 2);
    journal.Judge("reopened on a full disk", verdict);
  }
  if (place.disk->kind() == FileSystem::kExt4) {
    place.disk->Remount();
    journal.Judge("read back from a full disk", verdict);
  }
  place.disk->Free();
  verdict->Require(journal.Open(kModeWrite) >= 0, "it can be opened when there is room again");
  journal.AppendMany(kCapacity);
  journal.Judge("written with room again", verdict);
  verdict->Require(LogLines().size() <= kMostLines, "a few lines, but: " + Describe(LogLines()));
}

// A file without a bound can be appended to only as far as it can grow.
void FillWhileGrowing(const Place& place, Verdict* verdict) {
  constexpr int kRefusals = 1000;
  DrivenJournal journal(place.disk->Path("journal"), kNoBound);
  ForgetLogLines();
  verdict->Require(journal.Open() >= 0, "it can be created");
  place.disk->FillTo(0);
  int result = 0;
  while (result >= 0) result = journal.Append();
  verdict->Require(result == host::kNoSpace, "no room is said so, but: " + Describe(result));
  for (int i = 0; i < kRefusals; ++i) {
    const bool refused = journal.Append() == host::kNoSpace;
    if (!refused || journal.Merge() < 0) verdict->Require(false, "only appends are refused");
  }
  verdict->Require(journal.JudgeOpen("still open", journal.file(), verdict), "nothing is lost");
  journal.Judge("closed on a full disk", verdict);
  verdict->Require(journal.Open(kModeWrite) >= 0, "it can be opened on a full disk");
  verdict->Require(journal.Append() == host::kNoSpace, "there is no room after a reopening");
  place.disk->Free();
  journal.AppendMany(1000);
  journal.Judge("with room again", verdict);
  verdict->Require(LogLines().size() <= kMostLines, "a few lines, but: " + Describe(LogLines()));
}

std::uint64_t CapacityOf(const std::string& path) {
  host::RecordFileInfo info;
  return host::ProbeRecordFile(path, &info) < 0 ? 0 : info.capacity;
}

void Resize(const Place& place, unsigned long from, unsigned long to, Verdict* verdict) {
  DrivenJournal journal(place.disk->Path("journal"), from);
  verdict->Require(journal.Open() >= 0, "it can be created");
  journal.AppendMany(2 * from + from / 2);
  journal.Close();
  journal.AskForCapacity(to);
  const auto attempt = [&](const std::string& when) {
    const int result = journal.Open(kModeWrite);
    verdict->Require(result >= 0, when + " opens the file: " + Describe(result));
    if (result < 0) return true;
    const std::uint64_t kept = CapacityOf(journal.path());
    verdict->Require(kept == from || kept == to, fmt::format("{} keeps {} records", when, kept));
    journal.AppendMany(10);
    journal.Judge(when, verdict);
    verdict->Require(NamesOn(*place.disk) == "journal ", when + " leaves: " + NamesOn(*place.disk));
    return kept == to;
  };
  WithMoreAndMoreRoom(place, fmt::format("resizing from {} to {}", from, to), attempt, verdict);
}

using Converter = std::string (OldJournal::*)() const;
void Convert(const Place& place, OldFormat format, Converter converter, Verdict* verdict) {
  const OldJournal journal(place.disk->Path("journal"), format, 101);
  const auto attempt = [&](const std::string& when) {
    const bool converted = (journal.*converter)().empty();
    if (converted) journal.RequireConverted(when, verdict);
    if (!converted) journal.RequireUntouched(when, verdict);
    verdict->Require(NamesOn(*place.disk) == "journal ", when + " leaves: " + NamesOn(*place.disk));
    return converted;
  };
  const bool whole = converter == &OldJournal::Convert;
  const std::string by = whole ? "conversion" : "conversion by the library alone";
  WithMoreAndMoreRoom(place, by + " of format " + NameOf(format), attempt, verdict);
}

struct Case {
  std::string name;
  std::function<void(const Place& place, Verdict* verdict)> run;
};

std::vector<Case> Cases() {
  std::vector<Case> cases = {
      {"creation", [](const Place& place, Verdict* verdict) { Create(place, 1000, verdict); }},
      {"growing creation",
       [](const Place& place, Verdict* verdict) { Create(place, kNoBound, verdict); }},
      {"full after creation", FillAfterCreation},
      {"full while growing", FillWhileGrowing},
      {"growing", [](const Place& place, Verdict* verdict) { Resize(place, 500, 6000, verdict); }},
      {"shrinking",
       [](const Place& place, Verdict* verdict) { Resize(place, 6000, 500, verdict); }},
  };
  for (const OldFormat format : {OldFormat::k3, OldFormat::k41}) {
    for (const Converter way : {&OldJournal::Convert, &OldJournal::ConvertByLibrary}) {
      cases.push_back({"conversion of format " + NameOf(format),
                       [format, way](const Place& place, Verdict* verdict) {
                         Convert(place, format, way, verdict);
                       }});
    }
  }
  return cases;
}

Outcome RunCases(const Options& options, const Common& common) {
  EnterOwnMounts();
  Verdict verdict;
  for (const FileSystem kind : {FileSystem::kTmpfs, FileSystem::kExt4}) {
    for (const Case& one : Cases()) {
      SmallDisk disk(kind, common.directory, kDiskBytes);
      const Place place = {NameOf(kind), &disk, &options};
      const auto trial = [&](Verdict& found) { one.run(place, &found); };
      RunTrial(one.name + " on " + place.where, trial, &verdict);
    }
  }
  return {verdict.broken(), fmt::format("{} promises looked at", verdict.looked_at())};
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  using namespace packetdb::faults;
  const std::string description = "fills disks before, while and after record files want room";
  return Run(argc, argv, description, [](CLI::App& app) {
    auto options = std::make_shared<Options>();
    app.add_option("--step", options->step, "between the numbers of free blocks that are tried")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--laps", options->laps, "how often a journal wraps on a full disk")
        ->capture_default_str();
    return [options](const Common& common) { return RunCases(*options, common); };
  });
}
