#include <nlohmann/json.hpp>

#include "bench/record_file/report.h"

namespace packetdb::bench {
namespace {

using Json = nlohmann::ordered_json;

constexpr double kNanoseconds = 1e9;

Json RowAsJson(const Result& result) {
  Json row;
  row["operation"] = result.row.operation;
  row["name"] = result.row.name;
  row["records"] = result.row.records;
  row["median_ns"] = result.figure.median * kNanoseconds;
  row["lowest_ns"] = result.figure.lowest * kNanoseconds;
  row["highest_ns"] = result.figure.highest * kNanoseconds;
  row["ratio"] = result.ratio == 0 ? Json() : Json(result.ratio);
  if (!result.row.promise.after_kill.empty()) {
    row["after_kill"] = result.row.promise.after_kill;
    row["after_power_cut"] = result.row.promise.after_power_cut;
  }
  return row;
}

}  // namespace

std::string JsonReport(const Facts& facts, const std::vector<Result>& results) {
  Json report;
  for (const auto& [name, value] : facts) report["machine"][name] = value;
  report["rows"] = Json::array();
  for (const Result& result : results) report["rows"].push_back(RowAsJson(result));
  return report.dump(2) + '\n';
}

}  // namespace packetdb::bench
