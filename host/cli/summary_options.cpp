#include "host/cli/summary_options.h"

#include <CLI/CLI.hpp>

#include "host/cli/question_options.h"

namespace packetdb::host {

namespace {

CLI::App* AddSummary(CLI::App& app, const char* name, const char* purpose,
                     SummaryOptions& options) {
  CLI::App* command = app.add_subcommand(name, purpose);
  AddQuestion(*command, options.question);
  AddOrigin(*command, options.origin);
  AddPrintChoice(*command, options.print);
  command->add_option("--sort", options.sort, "by count, bytes or events")->type_name("SUM");
  AddExitStatus(*command, options.exit_status);
  return command;
}

void AddBy(CLI::App& command, SummaryOptions& options, const char* help) {
  command.add_option("--by", options.by, help)->type_name("LIST");
}

void AddMost(CLI::App& command, SummaryOptions& options, const char* help) {
  command.add_option("-m,--most", options.most, help)
      ->type_name("N")
      ->check(CLI::Range(1, 100000).description(""));
}

}  // namespace

CLI::App* AddTop(CLI::App& app, SummaryOptions& options) {
  CLI::App* top = AddSummary(app, "top", "Tell which records add up to most", options);
  AddBy(*top, options,
        "fields that are added up together; addresses, ports and protocol "
        "unless given");
  AddMost(*top, options, "how many groups");
  return top;
}

CLI::App* AddGroupBy(CLI::App& app, SummaryOptions& options) {
  CLI::App* group_by = AddSummary(app, "group-by", "Add up all records by their fields", options);
  AddBy(*group_by, options, "these fields");
  return group_by;
}

CLI::App* AddHistogram(CLI::App& app, SummaryOptions& options) {
  constexpr std::size_t kValues = 5;
  options.most = kValues;
  CLI::App* histogram = AddSummary(app, "histogram", "Add up records over time", options);
  histogram->add_option("--bin", options.bin, "this long each")->type_name("SPAN");
  AddBy(*histogram, options, "with lines of their own for the largest values of these fields");
  AddMost(*histogram, options, "how many values");
  histogram->add_flag("--ascii", options.has_ascii_bars, "bars of ASCII");
  return histogram;
}

CLI::App* AddBlocked(CLI::App& app, SummaryOptions& options) {
  constexpr std::size_t kLines = 100;
  options.most = kLines;
  CLI::App* blocked = AddSummary(
      app, "blocked", "Tell what was dropped or rejected, by which rule, how often", options);
  AddMost(*blocked, options, "how many lines");
  return blocked;
}

}  // namespace packetdb::host
