#include "host/cli/query_command.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fmt/format.h>
#include <memory>

#include "host/cli/report.h"
#include "host/cli/usage_error.h"
#include "host/expression/explain.h"
#include "host/expression/predicate.h"
#include "host/journals/error.h"
#include "host/printing/fields.h"
#include "host/printing/row_printer.h"
#include "host/printing/terminal.h"
#include "host/reading/follow.h"
#include "host/reading/windows.h"

namespace packetdb::host {

namespace {

// Set by Ctrl-C while rows are followed: what was seen by then is printed to its end.
std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

PrintOptions PrintOptionsOf(const QueryOptions& options) {
  try {
    PrintOptions print;
    SetFormat(options.output, &print);
    if (!options.fields.empty()) {
      print.fields = ParseFields(options.fields);
    }
    print.numeric = options.numeric;
    print.utc = options.utc;
    print.colour = WantsColour(options.colour, stdout);
    print.width = TerminalWidth(stdout);
    ChosenFields(print);  // a template shows its mistakes before anybody is asked
    return print;
  } catch (const PrintError& error) {
    throw UsageError(error.what());
  }
}

// Rows tell their interface only where that is wanted, since the daemon has to be asked for each.
InterfaceChoice ChoiceOf(const Plan& plan, const PrintOptions& print) {
  InterfaceChoice choice;
  choice.patterns = plan.division.interface_patterns;
  const bool is_chosen =
      choice.patterns.empty() && !expression::IsEverything(plan.division.interfaces);
  const std::vector<std::string>& fields = print.fields;
  const bool is_printed = std::find(fields.begin(), fields.end(), "iface") != fields.end() ||
                          print.template_text.find("{iface") != std::string::npos;
  choice.must_tell = plan.division.rest_needs_interface || is_chosen || is_printed;
  return choice;
}

// One command's way from a plan to printed rows.
class Asking {
 public:
  Asking(const QueryOptions& options, const PrintOptions& print, const Origin& origin,
         const Plan& plan)
      : options_(options),
        plan_(plan),
        is_table_(print.format == PrintFormat::kTable || print.format == PrintFormat::kWide),
        rest_(plan.division.rest),
        source_(origin.open(plan.query.m_Interface, ChoiceOf(plan, print))),
        printer_(MakeRowPrinter(print, origin.names, stdout)) {
    if (!plan.NeedsNoTest()) {
      wanted_ = [this](const Row& row) { return plan_.Takes(row) && rest_.Matches(row); };
    }
  }

  ExitCode Run() {
    const ReadResult result = options_.follow ? Follow() : Read();
    if (printed_ > 0 || !is_table_) {  // a head above nothing says nothing
      printer_->Finish();
    }
    return FlushOutput() ? Verdict(result) : kExitFailed;
  }

 private:
  ReadResult Read() {
    WindowReader reader(*source_, interrupted);
    const RowSink print = [this](const Row& row) { return Print(row); };
    const std::size_t most = plan_.query.m_RecCount;
    if (most == 0) {
      const ReadOrder order = options_.reverse ? ReadOrder::kNewestFirst : ReadOrder::kOldestFirst;
      return reader.ReadAll(order, plan_.query, wanted_, print);
    }
    if (options_.reverse) {
      return reader.ReadNewest(most, plan_.query, wanted_, print);
    }
    return ReadNewestOldestFirst(&reader, most);
  }

  // Where nobody limits them, rows are never all in memory; here somebody has.
  ReadResult ReadNewestOldestFirst(WindowReader* reader, std::size_t most) {
    std::vector<Row> rows;
    const ReadResult result =
        reader->ReadNewest(most, plan_.query, wanted_, [&rows](const Row& row) {
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
    const std::size_t most = plan_.query.m_RecCount == 0 ? kNewest : plan_.query.m_RecCount;
    Follower follower(*source_, plan_.query, wanted_, interrupted);
    return follower.Run(most, Follower::kInterval, [this](const Row& row, bool) {
      const bool goes_on = Print(row);
      printer_->Flush();
      return goes_on;
    });
  }

  bool Print(const Row& row) {
    printer_->Print(row);
    ++printed_;
    return std::ferror(stdout) == 0;
  }

  ExitCode Verdict(const ReadResult& result) const {
    if (!result.ok() && result.outcome != ReadOutcome::kStopped) {
      Complain(printed_ > 0 ? fmt::format("the answer is incomplete: {}", result.reason)
                            : fmt::format("the query failed: {}", result.reason));
      return result.outcome == ReadOutcome::kUnreachable ? kExitUnreachable
             : printed_ > 0                              ? kExitIncomplete
                                                         : kExitFailed;
    }
    if (const std::uint64_t damaged = DamagedIn(*source_); damaged > 0) {
      Complain(fmt::format("{} damaged records are left out; packetdb check tells which", damaged));
      return kExitDamaged;
    }
    return printed_ > 0 ? kExitOk : NothingMatched();
  }

  ExitCode NothingMatched() const {
    if (options_.follow) {
      return kExitOk;
    }
    const std::string& file = options_.origin.file;
    Complain(fmt::format("nothing matched in '{}'",
                         file.empty() ? std::string(plan_.query.m_Interface) : file));
    return options_.exit_status ? kExitNoMatch : kExitOk;
  }

  const QueryOptions& options_;
  const Plan& plan_;
  bool is_table_;
  expression::Predicate rest_;
  RowTest wanted_;
  std::unique_ptr<RowSource> source_;
  std::unique_ptr<RowPrinter> printer_;
  std::uint64_t printed_ = 0;
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
  if (options.follow) {
    std::signal(SIGINT, [](int) { interrupted = true; });
    std::signal(SIGTERM, [](int) { interrupted = true; });
  }
  return Asking(options, print, origin, plan).Run();
}

}  // namespace packetdb::host
