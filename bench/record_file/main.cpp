// Measures what a record costs, in our record file and in other stores, side by side in one run.
#include <CLI/CLI.hpp>
#include <benchmark/benchmark.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <string>
#include <vector>

#include "bench/record_file/machine.h"
#include "bench/record_file/report.h"
#include "bench/record_file/results.h"
#include "bench/record_file/rows.h"
#include "bench/support/scratch.h"

namespace packetdb::bench {
namespace {

struct Options {
  std::string folder = std::filesystem::temp_directory_path();
  std::string json;
  std::string filter = ".";
  int repetitions = 11;
  double seconds = 0.2;
  Sizes sizes;
  bool is_brief = false;
};

void AddOptions(CLI::App& app, Options& options) {
  app.add_option("--dir", options.folder, "where to make the files")->capture_default_str();
  app.add_option("--json", options.json, "write the figures to this file, too");
  app.add_option("--filter", options.filter, "measure only rows that match this expression");
  app.add_option("--repetitions", options.repetitions, "how often to measure each row")
      ->capture_default_str()
      ->check(CLI::Range(1, 1000));
  app.add_option("--seconds", options.seconds, "how long to measure a row each time")
      ->capture_default_str()
      ->check(CLI::Range(0.001, 60.0));
  app.add_option("--records", options.sizes.records, "records of a full store")
      ->capture_default_str()
      ->check(CLI::Range(10'000, 100'000'000));
  app.add_option("--journal", options.sizes.journal, "records of the large journal")
      ->capture_default_str()
      ->check(CLI::Range(10'000, 1'000'000'000));
  app.add_flag("--brief", options.is_brief, "see that all works, in seconds; no figures to use");
}

void MakeBrief(Options& options) {
  options.repetitions = 1;
  options.seconds = 0.001;
  options.sizes = {10'000, 20'000, 1};
}

// In an order that changes from repetition to repetition, so that what disturbs the machine for a
// while does not disturb all repetitions of one row.
void SetUpGoogleBenchmark(const Options& options) {
  std::vector<std::string> words = {
      "record_file_bench",
      "--benchmark_enable_random_interleaving=true",
      fmt::format("--benchmark_repetitions={}", options.repetitions),
      fmt::format("--benchmark_min_time={}", options.seconds),
  };
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  auto count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
}

bool Write(const std::string& path, const std::string& text) {
  std::ofstream file(path);
  file << text;
  file.close();
  if (!file) fmt::print(stderr, "cannot write {}\n", path);
  return !file.fail();
}

bool Report(const Options& options, const Facts& facts, const std::vector<Result>& results) {
  fmt::print("{}", TextReport(facts, results));
  if (options.is_brief) fmt::print("\nThis was a brief run: its figures mean nothing.\n");
  return options.json.empty() || Write(options.json, JsonReport(facts, results));
}

// Something was measured, and nothing went wrong.
bool Run(const Options& options) {
  const Facts facts = MachineFacts(options.folder);
  Scratch scratch(options.folder);
  Rows rows(scratch, options.sizes);
  AddStoreRows(rows);
  AddFileRows(rows);
  SetUpGoogleBenchmark(options);
  Collector collector;
  const std::size_t measured = benchmark::RunSpecifiedBenchmarks(&collector, options.filter);
  benchmark::ClearRegisteredBenchmarks();  // closes the stores while their folder is there
  for (const std::string& failure : collector.failures()) {
    fmt::print(stderr, "failed: {}\n", failure);
  }
  if (measured == 0) fmt::print(stderr, "no row matches the filter\n");
  const bool is_reported = Report(options, facts, collector.Results(rows.all()));
  return measured > 0 && collector.failures().empty() && is_reported;
}

int Main(int argc, char** argv) {
  CLI::App app("Measures what a record costs, in our record file and in other stores.");
  Options options;
  AddOptions(app, options);
  CLI11_PARSE(app, argc, argv);
  if (options.is_brief) MakeBrief(options);
  try {
    return Run(options) ? 0 : 1;
  } catch (const std::exception& error) {
    fmt::print(stderr, "failed: {}\n", error.what());
    return 1;
  }
}

}  // namespace
}  // namespace packetdb::bench

int main(int argc, char** argv) { return packetdb::bench::Main(argc, argv); }
