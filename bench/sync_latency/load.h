// A writer that is given work at a steady rate, and what each piece of it took.
#pragma once

#include <cstdint>
#include <string>

#include "bench/sync_latency/histogram.h"

namespace packetdb::bench {

enum class Flushing {
  kThread,  // the record file's own thread
  kInline,  // the writer itself, between two records
  kNever,
};

struct Load {
  std::string folder;
  std::uint64_t records = 1'000'000;  // that the journal keeps; all are there at the beginning
  std::uint64_t rate = 200'000;       // operations per second
  int seconds = 10;
  int merges_percent = 50;  // overwrites of a recent record, of all operations
  int interval_ms = 1000;   // between two flushes
};

struct Latencies {
  Histogram append;     // the call
  Histogram overwrite;  // the call
  Histogram lateness;   // from when an operation was due until it had been done
  Histogram flush;      // in line: what the writer waited for
};

// Runs the load once. Throws std::runtime_error when anything fails.
Latencies RunLoad(const Load& load, Flushing flushing);

}  // namespace packetdb::bench
