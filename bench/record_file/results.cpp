#include "bench/record_file/results.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>

namespace packetdb::bench {
namespace {

Figure PerRecord(const Figure& figure, double records) {
  return {figure.median / records, figure.lowest / records, figure.highest / records};
}

std::vector<std::string> OperationsOf(const std::vector<Row>& rows) {
  std::vector<std::string> operations;
  for (const Row& row : rows) {
    if (std::find(operations.begin(), operations.end(), row.operation) == operations.end()) {
      operations.push_back(row.operation);
    }
  }
  return operations;
}

}  // namespace

Figure FigureOf(std::vector<double> seconds) {
  std::sort(seconds.begin(), seconds.end());
  const std::size_t upper = seconds.size() / 2;
  const std::size_t lower = (seconds.size() - 1) / 2;
  return {(seconds[lower] + seconds[upper]) / 2, seconds.front(), seconds.back()};
}

void Collector::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    const std::string& name = run.run_name.function_name;
    if (run.error_occurred) {
      failures_.push_back(name + ": " + run.error_message);
    } else if (run.run_type == Run::RT_Iteration && run.iterations > 0) {
      seconds_[name].push_back(run.real_accumulated_time / static_cast<double>(run.iterations));
    }
  }
  if (!runs.empty()) fmt::print(stderr, "measured: {}\n", runs.front().run_name.function_name);
}

std::vector<Result> Collector::Results(const std::vector<Row>& rows) const {
  std::vector<Result> results;
  for (const std::string& operation : OperationsOf(rows)) AddResults(rows, operation, &results);
  return results;
}

void Collector::AddResults(const std::vector<Row>& rows, const std::string& operation,
                           std::vector<Result>* results) const {
  double reference = 0;
  bool is_first = true;
  for (const Row& row : rows) {
    if (row.operation != operation) continue;
    const auto found = seconds_.find(BenchmarkName(row));
    if (found != seconds_.end()) {
      const Figure figure = PerRecord(FigureOf(found->second), row.records);
      if (is_first) reference = figure.median;
      results->push_back({row, figure, reference == 0 ? 0 : figure.median / reference});
    }
    is_first = false;
  }
}

}  // namespace packetdb::bench
