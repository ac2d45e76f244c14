#include "host/cli/summary_command.h"

#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>

#include "host/cli/report.h"
#include "host/cli/row_reading.h"
#include "host/cli/usage_error.h"
#include "host/summary/blocked.h"
#include "host/summary/group_by.h"
#include "host/summary/histogram.h"
#include "host/summary/top.h"

namespace packetdb::host {

namespace {

constexpr char kFiveTuple[] = "src,src_port,dst,dst_port,proto";

// What takes rows, and prints what they come to.
struct Summing {
  std::function<void(const Row&)> add;
  std::function<void(const Names&)> print;
};

template <class Sums, class Options>
Summing Made(const Options& options, const PrintOptions& print) {
  const auto kept = std::make_shared<Sums>(options);
  return {[kept](const Row& row) { kept->Add(row); },
          [kept, print](const Names& names) { kept->Print(print, names, stdout); }};
}

KeyFields FieldsOf(const SummaryOptions& options, const char* usual) {
  return ParseKeyFields(options.by.empty() ? usual : options.by);
}

HistogramOptions HistogramOptionsOf(const SummaryOptions& options) {
  HistogramOptions histogram;
  histogram.bin_seconds = ParseBin(options.bin);
  histogram.utc = options.print.utc;
  if (!options.by.empty()) {
    histogram.by = ParseKeyFields(options.by);
  }
  histogram.most_values = options.most;
  histogram.sort = ParseSumKind(options.sort);
  histogram.bars = options.has_ascii_bars ? BarStyle::kAscii : BarStyle::kBlocks;
  return histogram;
}

Summing MakeSumming(Summary summary, const SummaryOptions& options, const PrintOptions& print) {
  const SumKind sort = ParseSumKind(options.sort);
  switch (summary) {
    case Summary::kTop:
      return Made<Top>(
          TopOptions{.by = FieldsOf(options, kFiveTuple), .sort = sort, .most = options.most},
          print);
    case Summary::kGroupBy:
      return Made<GroupBy>(GroupByOptions{.by = FieldsOf(options, kFiveTuple), .share = sort},
                           print);
    case Summary::kHistogram:
      return Made<Histogram>(HistogramOptionsOf(options), print);
    case Summary::kBlocked:
      return Made<Blocked>(BlockedOptions{.sort = sort, .most = options.most}, print);
  }
  throw UsageError("there is no such summary");
}

bool TellsInterface(const SummaryOptions& options) {
  return options.by.find("iface") != std::string::npos ||
         options.by.find("interface") != std::string::npos;
}

ExitCode Sum(const SummaryOptions& options, const Origin& origin, const Plan& plan,
             const Summing& summing) {
  RowReading reading(origin, plan, TellsInterface(options));
  const RowSink add = [&summing](const Row& row) {
    summing.add(row);
    return true;
  };
  const std::size_t most = plan.query.m_RecCount;
  const ReadResult result =
      most == 0 ? reading.ReadAll(ReadOrder::kOldestFirst, add) : reading.ReadNewest(most, add);
  if (reading.given() > 0) {
    summing.print(origin.names);
  }
  return FlushOutput() ? reading.Verdict(result, options.exit_status) : kExitFailed;
}

}  // namespace

ExitCode RunSummary(Summary summary, const SummaryOptions& options) {
  try {
    const PrintOptions print = PrintOptionsOf(options.print);
    const Summing summing = MakeSumming(summary, options, print);
    const bool has_names = options.origin.file.empty();
    const Question question = ReadQuestion(options.question, has_names, std::time(nullptr));
    Origin origin;
    if (const ExitCode unreached = Reach(options.origin, &origin); unreached != kExitOk) {
      return unreached;
    }
    return Sum(options, origin, MakePlan(question, origin.names), summing);
  } catch (const PrintError& error) {
    throw UsageError(error.what());
  }
}

}  // namespace packetdb::host
