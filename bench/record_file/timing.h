// Timing of what must be prepared each time: only the middle of an iteration counts.
#pragma once

#include <benchmark/benchmark.h>
#include <chrono>

namespace packetdb::bench {

// Tells Google Benchmark how long `work` took; once per iteration of a row that has `iterations`.
template <class Work>
void Time(benchmark::State& state, Work work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
  state.SetIterationTime(taken.count());
}

}  // namespace packetdb::bench
