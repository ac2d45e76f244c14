// Measures the repeat-merging index beside a plain one.
#include <CLI/CLI.hpp>
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <random>
#include <string>
#include <vector>

#include "bench/index/plain_index.h"

namespace packetdb::bench {
namespace {

constexpr int kSizes[] = {10'000, 100'000, 1'000'000};

struct Options {
  int repetitions = 5;
  double seconds = 0.3;
  bool is_brief = false;
};

// Events of different identities, as a packet filter sees them: many hosts of a few networks, all
// ports of a few services.
class Identities {
 public:
  explicit Identities(std::uint32_t seed) : random_(seed) {}

  PacketDbItem Next() {
    PacketDbItem item;
    item.m_AdapterNameHash = 1 + random_() % 4;
    item.m_Item.m_SrcIp = 0x0A000000 + random_() % 0x40000;
    item.m_Item.m_DstIp = 0xC0A80000 + random_() % 0x100;
    item.m_Item.m_SrcPort = static_cast<std::uint16_t>(random_());
    item.m_Item.m_DstPort = static_cast<std::uint16_t>(random_() % 1024);
    item.m_Item.m_Protocol = 6;
    return item;
  }
  std::vector<PacketDbItem> Many(int count) {
    std::vector<PacketDbItem> items(count);
    for (PacketDbItem& item : items) item = Next();
    return items;
  }

 private:
  std::mt19937 random_;
};

template <class Index>
void Fill(Index& index, std::vector<PacketDbItem>& items) {
  index.Init(static_cast<int>(items.size()));
  for (PacketDbItem& item : items) {
    if (index.FindItem(&item) == nullptr) index.AddItem(index.NewItem(&item));
  }
}

template <class Index>
void LookUp(benchmark::State& state, bool is_hit) {
  const auto size = static_cast<int>(state.range(0));
  std::vector<PacketDbItem> items = Identities(1).Many(size);
  Index index;
  Fill(index, items);
  std::vector<PacketDbItem> asked = is_hit ? items : Identities(2).Many(size);
  std::shuffle(asked.begin(), asked.end(), std::mt19937(3));
  std::size_t at = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(index.FindItem(&asked[at]));
    if (++at == asked.size()) at = 0;
  }
}

// Each event is new, and the oldest goes.
template <class Index>
void Churn(benchmark::State& state) {
  std::vector<PacketDbItem> items = Identities(1).Many(static_cast<int>(state.range(0)));
  Index index;
  Fill(index, items);
  Identities fresh(2);
  for (auto _ : state) {
    PacketDbItem item = fresh.Next();
    if (index.FindItem(&item) == nullptr) index.AddItem(index.NewItem(&item));
  }
}

template <class Index>
void Register(const std::string& name) {
  const auto add = [&](const std::string& what, auto run) {
    auto* const row = benchmark::RegisterBenchmark((what + ", " + name).c_str(), run);
    for (const int size : kSizes) row->Arg(size);
  };
  add("hit", [](benchmark::State& state) { LookUp<Index>(state, true); });
  add("miss", [](benchmark::State& state) { LookUp<Index>(state, false); });
  add("churn", Churn<Index>);
}

void Run(const Options& options) {
  std::vector<std::string> words = {
      "index_bench",
      "--benchmark_enable_random_interleaving=true",
      "--benchmark_report_aggregates_only=true",
      fmt::format("--benchmark_repetitions={}", options.is_brief ? 1 : options.repetitions),
      fmt::format("--benchmark_min_time={}", options.is_brief ? 0.001 : options.seconds),
  };
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  auto count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  Register<DrvErrorItemsIndex>("packetdb");
  Register<PlainIndex>("a set of nodes from the heap");
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace
}  // namespace packetdb::bench

int main(int argc, char** argv) {
  CLI::App app("measures the index of events that take up repeats");
  packetdb::bench::Options options;
  app.add_option("--repetitions", options.repetitions, "how often to measure each row")
      ->capture_default_str()
      ->check(CLI::Range(1, 1000));
  app.add_option("--seconds", options.seconds, "how long to measure a row each time")
      ->capture_default_str()
      ->check(CLI::Range(0.001, 60.0));
  app.add_flag("--brief", options.is_brief, "see that all works, in seconds; no figures to use");
  CLI11_PARSE(app, argc, argv);
  packetdb::bench::Run(options);
  return 0;
}
