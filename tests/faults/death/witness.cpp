#include "tests/faults/death/witness.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <utility>

#include "host/record_file/modes.h"
#include "tests/faults/death/layout.h"

namespace packetdb::faults {
namespace {

namespace fs = std::filesystem;

auto FilesIn(const std::string& folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

}  // namespace

Witness::Witness(const Scenario& scenario, std::string name, std::string scratch,
                 Violations& violations)
    : name_(std::move(name)),
      scratch_(std::move(scratch)),
      copy_(scenario.reopen),
      writer_mode_(scenario.writer_mode),
      reader_{.who = "a reader", .stages = &scenario.read_stages, .reached = 0},
      writer_{.who = "a writer", .stages = &scenario.written_stages, .reached = 0},
      violations_(violations) {
  copy_.path = scratch_ + "/" + fs::path(copy_.path).filename().string();
}

void Witness::Compare(Progress& progress, const Opened& found, bool returned) {
  const auto& stages = *progress.stages;
  const auto from = stages.begin() + static_cast<std::ptrdiff_t>(progress.reached);
  const auto stage = std::find(from, stages.end(), found);
  const bool too_early = returned && !(found == stages.back());
  if (stage == stages.end() || too_early) {
    violations_.Add(fmt::format("{}: {} finds {}{}; expected {}", name_, progress.who,
                                Describe(found), returned ? " after the return" : "",
                                Describe(returned ? stages.back() : *from)));
  } else {
    progress.reached = static_cast<std::size_t>(stage - stages.begin());
  }
}

// Whatever was left behind, a new file can be made, and then nothing else is left.
void Witness::CreateAnew() {
  const Opened made = LookAt(copy_, host::mode::kCreateAnew);
  if (made.result < 0 || !made.view.empty() || FilesIn(scratch_) != 1) {
    violations_.Add(fmt::format("{}: creating anew shows {} in {} files", name_, Describe(made),
                                FilesIn(scratch_)));
  }
}

void Witness::CountLosses(const Opened& written) {
  const std::uint64_t losses = written.result < 0 ? 0 : LossesOf(copy_.path);
  if (losses != 0) violations_.Add(fmt::format("{}: a writer counts {} losses", name_, losses));
}

// A restart that comes after everything has reached the disk makes no difference.
void Witness::JudgeAfterRestart(const FolderWatch& watch, const Found& found) {
  watch.CopyTo(scratch_);
  if (!fs::exists(copy_.path) || !MoveToOtherBoot(copy_.path)) return;
  const Opened read = LookAt(copy_, host::mode::kRead);
  const Opened written = LookAt(copy_, writer_mode_);
  CountLosses(written);
  if (read == found.read && written == found.written) return;
  violations_.Add(fmt::format("{}: after a restart {} and {} instead of {} and {}", name_,
                              Describe(read), Describe(written), Describe(found.read),
                              Describe(found.written)));
}

Found Witness::Judge(const FolderWatch& watch, bool returned) {
  watch.CopyTo(scratch_);
  Found found;
  found.read = LookAt(copy_, host::mode::kRead);
  Compare(reader_, found.read, returned);
  found.written = LookAt(copy_, writer_mode_);
  Compare(writer_, found.written, returned);
  CountLosses(found.written);
  if (FilesIn(scratch_) != 1) CreateAnew();
  JudgeAfterRestart(watch, found);
  return found;
}

}  // namespace packetdb::faults
