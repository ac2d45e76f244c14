// What a run measured: the time of each row in each repetition.
#pragma once

#include <benchmark/benchmark.h>
#include <map>
#include <string>
#include <vector>

#include "bench/record_file/rows.h"

namespace packetdb::bench {

// Seconds per record.
struct Figure {
  double median = 0;
  double lowest = 0;
  double highest = 0;
};

// Of at least one number.
Figure FigureOf(std::vector<double> seconds);

// A row that was measured.
struct Result {
  Row row;
  Figure figure;
  double ratio = 0;  // to the first row of its operation; 0 when that one was not measured
};

// Keeps what Google Benchmark reports, and shows on stderr how far it is.
class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override;

  // In the order of `rows`, those of one operation together; rows that were not run are left out.
  std::vector<Result> Results(const std::vector<Row>& rows) const;
  // One line for each row that failed.
  const std::vector<std::string>& failures() const { return failures_; }

 private:
  void AddResults(const std::vector<Row>& rows, const std::string& operation,
                  std::vector<Result>* results) const;

  std::map<std::string, std::vector<double>> seconds_;  // of one iteration, by BenchmarkName
  std::vector<std::string> failures_;
};

}  // namespace packetdb::bench
