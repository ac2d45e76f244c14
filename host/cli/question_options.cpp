#include "host/cli/question_options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <string_view>

#include "host/cli/usage_error.h"

namespace packetdb::host {

void AddQuestion(CLI::App& command, QuestionOptions& options) {
  command
      .add_option("words", options.words,
                  "Group or interface, 'all' unless given, and what to look for")
      ->type_name("[JOURNAL] [EXPRESSION]");
  command.add_option("-j,--journal", options.journal, "group or interface, whatever it is called")
      ->type_name("NAME");
  for (const CriterionOption& row : CriterionOptions()) {
    command.add_option(row.names, options.criteria.*row.text, row.help)->type_name(row.value);
  }
  command.add_option("--last", options.last, "last seen this long ago or later")->type_name("SPAN");
  command
      .add_option("-i,--interface", options.interfaces, "seen on this interface; * and ? fit any")
      ->type_name("NAME");
  command.add_option("--node", options.nodes, "network node of either end, by name or number")
      ->type_name("NODE");
  command
      .add_option("--dir", options.direction,
                  "both: source and destination may also match the other way round")
      ->type_name("both");
  command.add_flag("-b,--both-directions", options.criteria.both_directions,
                   "the same as --dir both");
}

void AddOrigin(CLI::App& command, OriginOptions& options) {
  command.add_option("-s,--socket", options.socket, "the daemon's socket")->type_name("PATH");
  command.add_option("--file", options.file, "a journal's file, without a daemon")
      ->type_name("PATH");
  command.add_option("--config", options.configuration, "with --file: has the names")
      ->type_name("PATH");
  command.add_option("--timeout", options.timeout_seconds, "wait this long for an answer")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 86400).description(""));
}

void AddPrintChoice(CLI::App& command, PrintChoice& choice) {
  command
      .add_option("-o,--output", choice.output,
                  "table, wide, csv, tsv, json, ndjson, raw or template=TEXT")
      ->type_name("FORMAT");
  command.add_option("--color", choice.colour, "auto, always or never")->type_name("WHEN");
  command.add_flag("--numeric", choice.numeric, "numbers, no names for them");
  command.add_flag("--utc", choice.utc, "times in UTC");
}

void AddExitStatus(CLI::App& command, bool& exit_status) {
  command.add_flag("--exit-status", exit_status, "end with 1 when nothing matched");
}

void RefuseEmptyValues(const CLI::App& command, const QuestionOptions& options) {
  for (const CriterionOption& row : CriterionOptions()) {
    const std::string_view names(row.names);
    const std::string_view first = names.substr(names.find("--"));
    const std::string name(first.substr(0, first.find(',')));
    if (command.get_option(name)->count() != 0 && (options.criteria.*row.text).empty()) {
      throw UsageError(fmt::format("{} was given an empty value; leave it out, or say what", name));
    }
  }
}

}  // namespace packetdb::host
