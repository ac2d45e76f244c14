// Measures what intake costs per event, beside what the library costs that it hands the event to.
#include <CLI/CLI.hpp>
#include <benchmark/benchmark.h>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/intake/traffic.h"
#include "bench/support/scratch.h"
#include "host/intake/intake.h"
#include "host/intake/node_table.h"
#include "host/journals/group_writer.h"

namespace packetdb::bench {
namespace {

constexpr int kIdentities = 1000;

struct Options {
  std::string folder = std::filesystem::temp_directory_path();
  int repetitions = 5;
  double seconds = 0.5;
  bool is_brief = false;
};

void AddOptions(CLI::App& app, Options& options) {
  app.add_option("--dir", options.folder, "where to make the journals")->capture_default_str();
  app.add_option("--repetitions", options.repetitions, "how often to measure each row")
      ->capture_default_str()
      ->check(CLI::Range(1, 1000));
  app.add_option("--seconds", options.seconds, "how long to measure a row each time")
      ->capture_default_str()
      ->check(CLI::Range(0.001, 60.0));
  app.add_flag("--brief", options.is_brief, "see that all works, in seconds; no figures to use");
}

void SetUpGoogleBenchmark(const Options& options) {
  std::vector<std::string> words = {
      "intake_bench",
      "--benchmark_enable_random_interleaving=true",
      fmt::format("--benchmark_repetitions={}", options.is_brief ? 1 : options.repetitions),
      fmt::format("--benchmark_min_time={}", options.is_brief ? 0.001 : options.seconds),
  };
  std::vector<char*> arguments;
  arguments.reserve(words.size());
  for (std::string& word : words) arguments.push_back(word.data());
  auto count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
}

// The same events, decided already, straight to the library: sums into records that are there.
void LibraryAlone(benchmark::State& state, const std::string& directory) {
  const Traffic traffic(kIdentities);
  host::GroupOptions options;
  options.directory = directory;
  options.group = "all";
  options.window_seconds = 86400;
  host::GroupWriter writer(options);
  const int before = writer.RecordCount();
  std::vector<std::size_t> hashes;
  for (const host::LiveEvent& event : traffic.events) {
    hashes.push_back(writer.Know(event.event.interface));
  }
  std::size_t next = 0;
  for (auto unused : state) {
    const host::Event& event = traffic.events[next].event;
    benchmark::DoNotOptimize(writer.AddKnown(event.item, hashes[next], event.interface));
    next = next + 1 == traffic.events.size() ? 0 : next + 1;
  }
  if (writer.RecordCount() - before > kIdentities) state.SkipWithError("the events did not merge");
}

void Intake(benchmark::State& state, const std::string& directory) {
  const Traffic traffic(kIdentities);
  const auto page = std::make_unique<host::StatusPage>();
  host::Intake intake(ConfigurationOf(directory), *page);
  std::size_t next = 0;
  for (auto unused : state) {
    intake.Take(traffic.events[next]);
    next = next + 1 == traffic.events.size() ? 0 : next + 1;
  }
  if (page->journals[0].events.Get() < static_cast<std::uint64_t>(state.iterations())) {
    state.SkipWithError("not every event was journaled");
  }
}

void NodeOfAnAddress(benchmark::State& state) {
  const host::NodeTable table(ConfigurationOf("").nodes);
  std::mt19937 random(1);
  std::uniform_int_distribution<std::uint32_t> draw(0, (100'000U << 8U) - 1);
  std::vector<std::uint32_t> addresses(4096);
  for (std::uint32_t& address : addresses) address = 0x0A000000U + draw(random);
  std::size_t next = 0;
  for (auto unused : state) {
    benchmark::DoNotOptimize(table.Find(addresses[next]));
    next = (next + 1) % addresses.size();
  }
}

void Register(const Scratch& scratch) {
  const auto in = [&](const char* name) { return scratch.path() + "/" + name; };
  benchmark::RegisterBenchmark("library alone", LibraryAlone, in("library"));
  benchmark::RegisterBenchmark("intake and library", Intake, in("intake"));
  benchmark::RegisterBenchmark("node of an address, 100,000 networks", NodeOfAnAddress);
}

int Run(const Options& options) {
  const Scratch scratch(options.folder);
  SetUpGoogleBenchmark(options);
  Register(scratch);
  const bool has_rows = benchmark::RunSpecifiedBenchmarks() > 0;
  if (options.is_brief) fmt::print("\nThis was a brief run: its figures mean nothing.\n");
  return has_rows ? 0 : 1;
}

}  // namespace
}  // namespace packetdb::bench

int main(int argc, char** argv) {
  CLI::App app("Measures what intake costs per event.");
  packetdb::bench::Options options;
  packetdb::bench::AddOptions(app, options);
  CLI11_PARSE(app, argc, argv);
  return packetdb::bench::Run(options);
}
