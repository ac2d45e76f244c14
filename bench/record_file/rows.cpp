#include "bench/record_file/rows.h"

#include <exception>
#include <utility>

namespace packetdb::bench {

void Rows::Add(Row row, Body body) {
  const auto guarded = [body = std::move(body)](benchmark::State& state) {
    try {
      body(state);
    } catch (const std::exception& error) {
      state.SkipWithError(error.what());
    }
  };
  auto* registered = benchmark::RegisterBenchmark(BenchmarkName(row).c_str(), guarded);
  // Most of what is slow here is waiting, which is no time of the processor.
  if (row.iterations > 0) {
    registered->Iterations(row.iterations)->UseManualTime();
  } else {
    registered->UseRealTime();
  }
  rows_.push_back(std::move(row));
}

std::string BenchmarkName(const Row& row) { return row.operation + ": " + row.name; }

}  // namespace packetdb::bench
