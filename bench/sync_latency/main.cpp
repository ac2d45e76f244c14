// Shows what flushing costs the one who writes: by a thread of its own, in line, and not at all.
#include <CLI/CLI.hpp>
#include <chrono>
#include <filesystem>
#include <fmt/format.h>
#include <string>
#include <vector>

#include "bench/support/scratch.h"
#include "bench/sync_latency/histogram.h"
#include "bench/sync_latency/load.h"

namespace packetdb::bench {
namespace {

struct Options {
  Load load;
  int rounds = 3;
  bool is_brief = false;
};

struct Way {
  const char* name;
  Flushing flushing;
};

void AddOptions(CLI::App& app, Options& options) {
  Load& load = options.load;
  load.folder = std::filesystem::temp_directory_path();
  app.add_option("--dir", load.folder, "where to make the journal")->capture_default_str();
  app.add_option("--records", load.records, "records that the journal keeps")
      ->capture_default_str()
      ->check(CLI::Range(10'000, 100'000'000));
  app.add_option("--rate", load.rate, "operations per second")
      ->capture_default_str()
      ->check(CLI::Range(1, 10'000'000));
  app.add_option("--seconds", load.seconds, "how long each way is measured in a round")
      ->capture_default_str()
      ->check(CLI::Range(1, 3600));
  app.add_option("--merges", load.merges_percent, "per cent of the operations that overwrite")
      ->capture_default_str()
      ->check(CLI::Range(0, 100));
  app.add_option("--interval", load.interval_ms, "milliseconds between two flushes")
      ->capture_default_str()
      ->check(CLI::Range(1, 60'000));
  app.add_option("--rounds", options.rounds, "how often each way is measured")
      ->capture_default_str()
      ->check(CLI::Range(1, 1000));
  app.add_flag("--brief", options.is_brief, "see that all works, in seconds; no figures to use");
}

void MakeBrief(Options& options) {
  options.rounds = 1;
  options.load.seconds = 1;
  options.load.records = 10'000;
  options.load.rate = 10'000;
  options.load.interval_ms = 200;
}

void Print(const std::string& name, const Histogram& times) {
  if (times.count() == 0) return;
  const auto microseconds = [](std::uint64_t nanoseconds) {
    return static_cast<double>(nanoseconds) / 1000;
  };
  fmt::print("  {:26} {:>9} {:>9.2f} {:>9.2f} {:>9.2f} {:>9.2f}\n", name, times.count(),
             microseconds(times.Percentile(0.5)), microseconds(times.Percentile(0.99)),
             microseconds(times.Percentile(0.9999)), microseconds(times.longest()));
}

void Print(const Latencies& latencies) {
  Print("append", latencies.append);
  Print("overwrite", latencies.overwrite);
  Print("done, since it was due", latencies.lateness);
  Print("flush that was waited for", latencies.flush);
}

// How much of every figure is the clock's.
void PrintClock() {
  Histogram nothing;
  for (int i = 0; i < 1'000'000; ++i) {
    const auto begin = std::chrono::steady_clock::now();
    const std::chrono::nanoseconds taken = std::chrono::steady_clock::now() - begin;
    nothing.Add(static_cast<std::uint64_t>(taken.count()));
  }
  Print("nothing at all", nothing);
}

void PrintRound(const Options& options, int round) {
  fmt::print("\nround {} of {:17} {:>9} {:>9} {:>9} {:>9} {:>9}\n", round, options.rounds, "times",
             "p50 us", "p99 us", "p99.99 us", "max us");
  PrintClock();
  for (const Way& way :
       {Way{"flushed by a thread", Flushing::kThread}, Way{"flushed in line", Flushing::kInline},
        Way{"never flushed", Flushing::kNever}}) {
    fmt::print("{}\n", way.name);
    Print(RunLoad(options.load, way.flushing));
    std::fflush(stdout);
  }
}

int Main(int argc, char** argv) {
  CLI::App app("Shows what flushing to the disk costs the one who writes.");
  Options options;
  AddOptions(app, options);
  CLI11_PARSE(app, argc, argv);
  if (options.is_brief) MakeBrief(options);
  const Load& load = options.load;
  fmt::print("{} operations per second for {} s, {} % of them overwrite; a flush every {} ms; {}\n",
             load.rate, load.seconds, load.merges_percent, load.interval_ms,
             FileSystemOf(load.folder));
  try {
    for (int round = 1; round <= options.rounds; ++round) PrintRound(options, round);
    return 0;
  } catch (const std::exception& error) {
    fmt::print(stderr, "failed: {}\n", error.what());
    return 1;
  }
}

}  // namespace
}  // namespace packetdb::bench

int main(int argc, char** argv) { return packetdb::bench::Main(argc, argv); }
