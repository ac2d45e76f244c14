// The rows of the benchmark: what each measures, and what is written beside its figure.
#pragma once

#include <benchmark/benchmark.h>
#include <functional>
#include <string>
#include <vector>

#include "bench/stores/variant.h"
#include "bench/support/scratch.h"

namespace packetdb::bench {

struct Row {
  std::string operation;  // rows of one operation are compared, the first being 1
  std::string name;       // of who does it, or to what it is done
  Promise promise;        // empty where nothing is stored
  double records = 1;     // handled by one iteration
  int iterations = 0;     // of one repetition, each timed by itself; 0: as many as fit the time
};

// How much is measured.
struct Sizes {
  std::uint64_t records = 1'000'000;   // of a store that is full
  std::uint64_t journal = 10'000'000;  // of the large journal that is opened
  int openings = 10;                   // of one repetition
};

// Collects rows and hands them to Google Benchmark.
class Rows {
 public:
  using Body = std::function<void(benchmark::State&)>;

  Rows(Scratch& scratch, const Sizes& sizes) : scratch_(scratch), sizes_(sizes) {}

  // `body` runs once per repetition. What it throws ends that row, which then counts as failed.
  void Add(Row row, Body body);

  Scratch& scratch() { return scratch_; }
  const Sizes& sizes() const { return sizes_; }
  const std::vector<Row>& all() const { return rows_; }

 private:
  Scratch& scratch_;
  Sizes sizes_;
  std::vector<Row> rows_;
};

// What Google Benchmark calls a row.
std::string BenchmarkName(const Row& row);

// Adds what is compared between stores: appending, overwriting and reading.
void AddStoreRows(Rows& rows);
// Adds what only our record file does: making, opening, recovering and resizing one.
void AddFileRows(Rows& rows);

}  // namespace packetdb::bench
