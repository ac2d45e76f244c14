// Checks a file again and again while it is written at full speed: there is never anything to find.
#include <chrono>
#include <fmt/format.h>
#include <memory>

#include "host/record_file/probe.h"
#include "tests/faults/integrity/examination.h"
#include "tests/faults/integrity/side_by_side.h"
#include "tests/faults/integrity/tally.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

struct Options {
  Load load;
  int runs = 100;
};

enum Counter : std::size_t { kStop, kWrites, kCounters };

void CheckOnce(const std::string& path, int run, Tally* tally) {
  const Examined examined = Examine(path);
  if (!examined.IsClean()) {
    tally->Violate("a check finds nothing beside a writer",
                   fmt::format("run {}: result {}, {} damaged, {} warnings, {}", run,
                               static_cast<int>(examined.result), examined.damage,
                               examined.warnings, examined.first));
  }
  host::RecordFileInfo info;
  const int result = host::ProbeRecordFile(path, &info);
  if (result != 0 || info.records == 0) {
    tally->Violate("a probe sees the records", fmt::format("run {}: {}", run, result));
  }
}

Outcome Check(const Common& common, Options options) {
  options.load.path = common.directory + "/journal";
  const SharedCounters counters(kCounters);
  Children children;
  children.Start([&] { RunWriter(options.load, counters[kStop], counters[kWrites]); });
  WaitUntilPositive(counters[kWrites]);
  Tally tally;
  SetWay(options.load.by_calls);
  const auto begin = std::chrono::steady_clock::now();
  for (int run = 0; run < options.runs; ++run) {
    // The writer has gone on since the last time.
    const std::uint64_t before = counters[kWrites];
    CheckOnce(options.load.path, run, &tally);
    for (int i = 0; i < 1000 && counters[kWrites] == before; ++i) sched_yield();
  }
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  counters[kStop] = 1;
  const int failed = children.Wait();
  return {tally.total() + static_cast<std::uint64_t>(failed),
          fmt::format("{} checks in {:.1f} s beside {} writes, {} false alarms", options.runs,
                      took.count(), counters[kWrites].load(), tally.total())};
}

Body AddOptions(CLI::App& app) {
  auto options = std::make_shared<Options>();
  app.add_option("--runs", options->runs)->capture_default_str();
  app.add_option("--record-size", options->load.recipe.record_size)->capture_default_str();
  app.add_option("--capacity", options->load.recipe.capacity)
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_flag("--by-calls", options->load.by_calls, "without mapping the file");
  app.add_flag("--reopen", options->load.reopens, "the writer closes the file now and then");
  return [options](const Common& common) { return Check(common, *options); };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Checks a record file that is written at full speed",
                               packetdb::faults::AddOptions);
}
