// Processes that may not write large files, open many or map much: whatever a record file is asked
// for then succeeds or is refused, and a refusal leaves no half-made file behind.
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "host/record_file/result.h"
#include "tests/faults/limits/operations.h"
#include "tests/faults/program.h"

#if defined(__SANITIZE_ADDRESS__)
#define PACKETDB_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PACKETDB_ADDRESS_SANITIZER
#endif
#endif

namespace packetdb::faults {
namespace {

struct Options {
  std::uint64_t steps = 24;  // limits tried between nothing and enough
};

// A limit that a process can give itself, from so tight that nothing works to wide enough.
struct Limit {
  std::string name;
  std::uint64_t step_units;  // how much more each attempt has
  std::function<void(std::uint64_t units)> set;
  std::vector<host::RecordFileResult> codes;  // what a refusal may be
};

// Sets the soft limit; the hard one stays, so that a process can take it back.
void SetLimit(__rlimit_resource resource, std::uint64_t value) {
  rlimit limit = {};
  if (getrlimit(resource, &limit) != 0) throw std::runtime_error("getrlimit");
  limit.rlim_cur = std::min<rlim_t>(value, limit.rlim_max);
  if (setrlimit(resource, &limit) != 0) throw std::runtime_error("setrlimit");
}

void Lift(__rlimit_resource resource) { SetLimit(resource, RLIM_INFINITY); }

void LiftAll() {
  for (const auto resource : {RLIMIT_FSIZE, RLIMIT_NOFILE, RLIMIT_AS}) Lift(resource);
}

// The lowest descriptor that is free, which is the one that the next open gets.
std::uint64_t NextDescriptor() {
  const int next = dup(STDOUT_FILENO);
  if (next < 0) throw std::runtime_error("dup");
  close(next);
  return static_cast<std::uint64_t>(next);
}

// A sanitizer takes all the address space there is, so that nothing is limited under one.
[[maybe_unused]] std::uint64_t AddressSpaceInUse() {
  std::uint64_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  if (pages == 0) throw std::runtime_error("no /proc/self/statm");
  return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::vector<Limit> Limits(const Options& options) {
  // Beyond the largest file that is made here, and the address space that opening it takes.
  const std::uint64_t file_step = (4U << 20U) / options.steps;
  const std::uint64_t space_step = (24U << 20U) / options.steps;
  std::vector<Limit> limits = {
      {"file size",
       file_step,
       [](std::uint64_t bytes) { SetLimit(RLIMIT_FSIZE, bytes); },
       {host::kFileTooLarge}},
      {"open files",
       1,
       [](std::uint64_t more) { SetLimit(RLIMIT_NOFILE, NextDescriptor() + more); },
       {host::kNoDescriptor}},
  };
#ifndef PACKETDB_ADDRESS_SANITIZER
  limits.push_back({"address space",
                    space_step,
                    [](std::uint64_t more) { SetLimit(RLIMIT_AS, AddressSpaceInUse() + more); },
                    {host::kNoMemory}});
#else
  static_cast<void>(space_step);
  fmt::print("address space is not limited: the address sanitizer takes what it wants of it\n");
#endif
  return limits;
}

bool IsOneOf(int result, const std::vector<host::RecordFileResult>& codes) {
  for (const host::RecordFileResult code : codes) {
    if (result == code) return true;
  }
  return false;
}

// One attempt. Whether the operation was granted.
bool Try(const Limit& limit, const Operation& operation, std::uint64_t units,
         const std::string& folder, Verdict* verdict) {
  const std::string when = fmt::format("{} with {} more of {}", operation.name, units, limit.name);
  const std::string path = folder + "/journal";
  std::filesystem::remove(path);
  DrivenJournal journal(path, operation.capacity);
  operation.prepare(journal);
  const bool was_there = std::filesystem::exists(path);
  limit.set(units);
  const int result = operation.act(journal, verdict);
  LiftAll();
  if (result < 0) {
    verdict->Require(IsOneOf(result, limit.codes), when + " is refused by " + Describe(result));
  }
  const bool is_there = std::filesystem::exists(path);
  verdict->Require(is_there || (!was_there && result < 0), when + ": the file is there");
  const std::string names = is_there ? "journal " : "";
  verdict->Require(NamesIn(folder) == names, when + " leaves: " + NamesIn(folder));
  // A refused creation may leave a sound file without records, but no half-made one.
  if (is_there) journal.Judge(when, verdict);
  return result >= 0;
}

void TryWithMoreAndMore(const Limit& limit, const Operation& operation, const Options& options,
                        const std::string& folder, Verdict* verdict) {
  // The limit ends the process by default; whoever writes journals ignores the signal.
  std::signal(SIGXFSZ, SIG_IGN);
  std::uint64_t refusals = 0;
  bool granted = false;
  for (std::uint64_t step = 0; step <= 2 * options.steps; ++step) {
    granted = Try(limit, operation, step * limit.step_units, folder, verdict);
    if (!granted) ++refusals;
  }
  verdict->Require(granted, operation.name + " succeeds within a wide limit");
  verdict->Require(refusals != 0 || !operation.makes_file,
                   operation.name + " fails within a tight limit");
  fmt::print("{}, {}: refused {} times of {}\n", limit.name, operation.name, refusals,
             2 * options.steps + 1);
}

void RunTrials(const Limit& limit, const Options& options, const Common& common, Verdict* verdict) {
  for (const Operation& operation : Operations()) {
    const auto trial = [&](Verdict& found) {
      TryWithMoreAndMore(limit, operation, options, common.directory, &found);
    };
    RunTrial(operation.name + " within a limit of " + limit.name, trial, verdict);
  }
}

Outcome RunAll(const Options& options, const Common& common) {
  Verdict verdict;
  for (const Way& way : Ways()) {
    host::SetRecordFileSettings(way.settings);
    fmt::print("{}:\n", way.name);
    for (const Limit& limit : Limits(options)) RunTrials(limit, options, common, &verdict);
  }
  return {verdict.broken(), fmt::format("{} promises looked at", verdict.looked_at())};
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  using namespace packetdb::faults;
  const std::string description = "asks record files for everything within limits of the process";
  return Run(argc, argv, description, [](CLI::App& app) {
    auto options = std::make_shared<Options>();
    app.add_option("--steps", options->steps, "limits tried between nothing and enough")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    return [options](const Common& common) { return RunAll(*options, common); };
  });
}
