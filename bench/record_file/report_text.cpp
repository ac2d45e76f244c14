#include <fmt/format.h>

#include "bench/record_file/report.h"

namespace packetdb::bench {
namespace {

// Three digits and a unit.
std::string TimeText(double seconds) {
  struct Unit {
    double seconds;
    const char* name;
  };
  for (const Unit unit : {Unit{1, "s"}, Unit{1e-3, "ms"}, Unit{1e-6, "us"}}) {
    if (seconds >= unit.seconds) return fmt::format("{:.3g} {}", seconds / unit.seconds, unit.name);
  }
  return fmt::format("{:.3g} ns", seconds * 1e9);
}

std::string RatioText(double ratio) {
  if (ratio == 0) return "-";
  return ratio < 10 ? fmt::format("{:.2f}", ratio) : fmt::format("{:.0f}", ratio);
}

bool IsPerRecord(const Row& row) { return row.records > 1 || !row.promise.after_kill.empty(); }

std::string Title(const Row& row) {
  const bool reads_records = row.operation.rfind("read ", 0) == 0;
  return fmt::format("{} ({})", row.operation,
                     IsPerRecord(row) || reads_records ? "time of one record" : "time of one");
}

void AddHead(const Row& row, std::string* text) {
  *text += fmt::format("\n{}\n  {:>9} {:>9} {:>9} {:>7}", Title(row), "median", "lowest", "highest",
                       "ratio");
  if (!row.promise.after_kill.empty()) {
    *text += fmt::format("  {:42}{:32}{}", "", "left after a kill", "left after a power cut");
  }
  *text += '\n';
}

void AddLine(const Result& result, std::string* text) {
  const Row& row = result.row;
  const Figure& figure = result.figure;
  *text += fmt::format("  {:>9} {:>9} {:>9} {:>7}  ", TimeText(figure.median),
                       TimeText(figure.lowest), TimeText(figure.highest), RatioText(result.ratio));
  if (!row.promise.after_kill.empty()) {
    *text +=
        fmt::format("{:42}{:32}{}", row.name, row.promise.after_kill, row.promise.after_power_cut);
  } else if (row.iterations > 0 && row.records > 1) {
    *text += fmt::format("{:42}{} in all", row.name, TimeText(figure.median * row.records));
  } else {
    *text += row.name;
  }
  *text += '\n';
}

}  // namespace

std::string TextReport(const Facts& facts, const std::vector<Result>& results) {
  std::string text;
  for (const auto& [name, value] : facts) text += fmt::format("{:22} {}\n", name, value);
  std::string operation;
  for (const Result& result : results) {
    if (result.row.operation != operation) AddHead(result.row, &text);
    operation = result.row.operation;
    AddLine(result, &text);
  }
  return text;
}

}  // namespace packetdb::bench
