// Lets a flush to the disk fail. The kernel may then drop what it could not write and report
// success the next time, so the first failure is the last word until somebody opens the file anew.
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <syslog.h>
#include <thread>
#include <unistd.h>

#include "host/record_file/descriptor.h"
#include "host/record_file/layout.h"
#include "host/record_file/settings.h"
#include "tests/faults/limits/driven_journal.h"
#include "tests/faults/limits/log_lines.h"
#include "tests/faults/limits/system_calls.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr unsigned long kCapacity = 1000;
constexpr std::chrono::milliseconds kInterval{5};
constexpr std::chrono::seconds kPatience{30};

host::StatePage StateOf(const std::string& path) {
  const host::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  host::StatePage state = {};
  if (pread(file.get(), &state, sizeof state, host::kStateOffset) != sizeof state) {
    throw std::runtime_error(path);
  }
  return state;
}

void SetMode(host::SyncMode mode) {
  host::RecordFileSettings settings;
  settings.sync.mode = mode;
  settings.sync.interval = kInterval;
  host::SetRecordFileSettings(settings);
}

// False when it does not come true.
bool WaitUntil(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

void RequireOneError(const std::string& when, const std::string& path, Verdict* verdict) {
  const std::vector<LogLine> lines = LogLines();
  const bool is_right = lines.size() == 1 && lines.front().priority == LOG_ERR &&
                        lines.front().text.find(path) != std::string::npos;
  verdict->Require(is_right,
                   fmt::format("{}: one line at error priority that names the file, but: {}", when,
                               Describe(lines)));
}

// How the disk is asked to flush, and how often that had succeeded in this opening when it fails.
struct Case {
  std::string name;
  host::SyncMode mode;
  std::uint64_t nth;
};

// The journal has met the failure: that is known, and stays so while flushes succeed again.
void RequireStaysFailed(const Case& one, DrivenJournal& journal, Verdict* verdict) {
  const std::uint64_t synced = StateOf(journal.path()).synced;
  RequireOneError(one.name, journal.path(), verdict);
  Disarm();  // from now on the disk says that all is well
  journal.AppendMany(2 * kCapacity);
  // Long enough for a flush that should not be: the thread that flushes would have its turn.
  std::this_thread::sleep_for(4 * kInterval);
  journal.AppendMany(10);
  const host::StatePage state = StateOf(journal.path());
  verdict->Require(state.state == host::kFailed, one.name + ": a later success changes nothing");
  verdict->Require(state.synced == synced, one.name + ": what counts as flushed stands still");
  verdict->Require(journal.JudgeOpen(one.name, journal.file(), verdict), "journaling goes on");
  RequireOneError(one.name + ", later", journal.path(), verdict);
}

void RequireNextOpeningClears(const Case& one, DrivenJournal& journal, Verdict* verdict) {
  journal.Close();
  const host::StatePage closed = StateOf(journal.path());
  verdict->Require(closed.state == host::kFailed, one.name + ": closing does not make it good");
  RequireOneError(one.name + ", closed", journal.path(), verdict);
  ForgetLogLines();
  verdict->Require(journal.Open(kModeWrite) >= 0, one.name + ": the next writer gets in");
  journal.AppendMany(10);
  verdict->Require(StateOf(journal.path()).state == host::kOpen, one.name + ": and clears it");
  journal.Close();
  const host::StatePage state = StateOf(journal.path());
  verdict->Require(state.state == host::kClosed && state.synced == state.next,
                   one.name + ": and all is flushed then");
  verdict->Require(LogLines().empty(), one.name + ": in silence: " + Describe(LogLines()));
  journal.Judge(one.name + ", afterwards", verdict);
}

void FailFlush(const Case& one, const std::string& folder, Verdict* verdict) {
  SetMode(one.mode);
  DrivenJournal journal(folder + "/journal", kCapacity);
  verdict->Require(journal.Open(kModeAnew) >= 0, "it can be made");
  ForgetLogLines();
  Arm({.nth = one.nth, .error = EIO, .only = "fdatasync"});
  const bool failed = WaitUntil([&] {
    journal.AppendMany(1);
    return StateOf(journal.path()).state == host::kFailed;
  });
  verdict->Require(failed, one.name + ": the file says that a flush has failed");
  if (!failed) return;
  // The line follows the word in the file.
  WaitUntil([] { return !LogLines().empty(); });
  RequireStaysFailed(one, journal, verdict);
  RequireNextOpeningClears(one, journal, verdict);
}

// Only closing flushes, and only that fails.
void FailAtClosing(std::uint64_t nth, const std::string& folder, Verdict* verdict) {
  const Case one = {fmt::format("flush {} of closing", nth), host::SyncMode::kNever, nth};
  SetMode(one.mode);
  DrivenJournal journal(folder + "/journal", kCapacity);
  verdict->Require(journal.Open(kModeAnew) >= 0, "it can be made");
  journal.AppendMany(kCapacity / 2);
  ForgetLogLines();
  Arm({.nth = nth, .error = EIO, .only = "fdatasync"});
  journal.Close();
  const CallReport report = Disarm();
  verdict->Require(report.failed == 1, one.name + " failed");
  RequireNextOpeningClears(one, journal, verdict);
}

std::vector<Case> Cases() {
  return {{"the first flush", host::SyncMode::kPeriodic, 1},
          {"a later flush", host::SyncMode::kPeriodic, 4},
          {"the flush of the first record", host::SyncMode::kEach, 2},
          {"the flush of a later record", host::SyncMode::kEach, 20}};
}

Outcome RunTrials(const Common& common) {
  Verdict verdict;
  const std::string& folder = common.directory;
  for (const Case& one : Cases()) {
    RunTrial(
        one.name, [&](Verdict& found) { FailFlush(one, folder, &found); }, &verdict);
  }
  for (const std::uint64_t nth : {1U, 2U}) {
    const auto trial = [&](Verdict& found) { FailAtClosing(nth, folder, &found); };
    RunTrial("closing", trial, &verdict);
  }
  return {verdict.broken(), fmt::format("{} promises looked at", verdict.looked_at())};
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  using namespace packetdb::faults;
  const std::string description = "lets flushes to the disk fail";
  return Run(argc, argv, description, [](CLI::App&) { return RunTrials; });
}
