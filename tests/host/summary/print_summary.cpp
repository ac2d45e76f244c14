// Prints the summary of the sample rows that is its argument as JSON: for schemas.py.
#include <cstdio>
#include <functional>
#include <map>

#include "host/summary/blocked.h"
#include "host/summary/group_by.h"
#include "host/summary/histogram.h"
#include "host/summary/key_fields.h"
#include "host/summary/top.h"
#include "tests/host/summary/summary_rows.h"

namespace packetdb::host::test {
namespace {

KeyFields EveryField() {
  std::string list;
  for (const std::string& name : KeyFieldNames()) list += (list.empty() ? "" : ",") + name;
  return ParseKeyFields(list);
}

template <typename Summary, typename Options>
std::string InJson(const Options& options) {
  return PrintedSummary<Summary>(options, SampleRows(), SampleOptions("json"));
}

std::string HistogramInJson() {
  HistogramOptions options;
  options.bin_seconds = 31557600;
  options.by = EveryField();
  options.most_values = 4;
  return InJson<Histogram>(options);
}

std::string Summary(const std::string& command) {
  const TimeZone zone("UTC0");
  if (command == "top") return InJson<Top>(TopOptions{.by = EveryField()});
  if (command == "group-by") return InJson<GroupBy>(GroupByOptions{.by = EveryField()});
  if (command == "histogram") return HistogramInJson();
  return command == "blocked" ? InJson<Blocked>(BlockedOptions()) : "";
}

}  // namespace
}  // namespace packetdb::host::test

int main(int argc, char** argv) {
  const std::string text = argc == 2 ? packetdb::host::test::Summary(argv[1]) : "";
  if (text.empty()) {
    std::fputs("usage: print_summary top|group-by|histogram|blocked\n", stderr);
    return 2;
  }
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() ? 0 : 1;
}
