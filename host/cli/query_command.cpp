#include "host/cli/query_command.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <vector>

#include "host/cli/report.h"
#include "host/cli/row_reading.h"
#include "host/cli/usage_error.h"
#include "host/expression/explain.h"
#include "host/printing/fields.h"
#include "host/printing/row_printer.h"

namespace packetdb::host {

namespace {

// With mistakes in a template shown before anybody is asked.
PrintOptions PrintOptionsOf(const QueryOptions& options) {
  const PrintOptions print = PrintOptionsOf(options.print);
  try {
    ChosenFields(print);
    return print;
  } catch (const PrintError& error) {
    throw UsageError(error.what());
  }
}

bool TellsInterface(const PrintOptions& print) {
  const std::vector<std::string>& fields = print.fields;
  return std::find(fields.begin(), fields.end(), "iface") != fields.end() ||
         print.template_text.find("{iface") != std::string::npos;
}

// The way of one command's rows to stdout.
class Asking {
 public:
  Asking(const QueryOptions& options, const PrintOptions& print, const Origin& origin,
         const Plan& plan)
      : options_(options),
        most_(plan.query.m_RecCount),
        is_table_(print.format == PrintFormat::kTable || print.format == PrintFormat::kWide),
        reading_(origin, plan, TellsInterface(print)),
        printer_(MakeRowPrinter(print, origin.names, stdout)) {}

  ExitCode Run() {
    const ReadResult result = options_.follow ? Follow() : Read();
    if (reading_.given() > 0 || !is_table_) {  // a head above nothing says nothing
      printer_->Finish();
    }
    return FlushOutput() ? reading_.Verdict(result, options_.exit_status) : kExitFailed;
  }

 private:
  ReadResult Read() {
    const RowSink print = [this](const Row& row) { return Print(row); };
    if (most_ == 0) {
      const ReadOrder order = options_.reverse ? ReadOrder::kNewestFirst : ReadOrder::kOldestFirst;
      return reading_.ReadAll(order, print);
    }
    return options_.reverse ? reading_.ReadNewest(most_, print) : ReadNewestOldestFirst();
  }

  // Where nobody limits them, rows are never all in memory; here somebody has.
  ReadResult ReadNewestOldestFirst() {
    std::vector<Row> rows;
    const ReadResult result = reading_.ReadNewest(most_, [&rows](const Row& row) {
      rows.push_back(row);
      return true;
    });
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
      Print(*row);
    }
    return result;
  }

  ReadResult Follow() {
    constexpr std::size_t kNewest = 10;  // as tail(1) and journalctl(1)
    return reading_.Follow(most_ == 0 ? kNewest : most_, [this](const Row& row, bool) {
      const bool goes_on = Print(row);
      printer_->Flush();
      return goes_on;
    });
  }

  bool Print(const Row& row) {
    printer_->Print(row);
    return std::ferror(stdout) == 0;
  }

  const QueryOptions& options_;
  std::size_t most_;  // 0: all
  bool is_table_;
  RowReading reading_;
  std::unique_ptr<RowPrinter> printer_;
};

}  // namespace

ExitCode RunQuery(const QueryOptions& options) {
  const PrintOptions print = PrintOptionsOf(options);
  const bool has_names = options.origin.file.empty();
  const Question question = ReadQuestion(options.question, has_names, std::time(nullptr));
  Origin origin;
  if (const ExitCode unreached = Reach(options.origin, &origin); unreached != kExitOk) {
    return unreached;
  }
  const Plan plan = MakePlan(question, origin.names);
  if (options.explain) {
    const std::string text = expression::Explain(plan.division, origin.names);
    std::fputs(text.c_str(), stdout);
    return FlushOutput() ? kExitOk : kExitFailed;
  }
  return Asking(options, print, origin, plan).Run();
}

}  // namespace packetdb::host
