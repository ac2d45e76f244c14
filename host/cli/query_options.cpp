#include "host/cli/query_options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <string>
#include <string_view>

#include "host/cli/usage_error.h"

namespace packetdb::host {

namespace {

void AddQuestion(CLI::App& query, QuestionOptions& options) {
  query
      .add_option("words", options.words,
                  "Group or interface, 'all' unless given, and what to "
                  "look for")
      ->type_name("[JOURNAL] [EXPRESSION]");
  query.add_option("-j,--journal", options.journal, "group or interface, whatever it is called")
      ->type_name("NAME");
  for (const CriterionOption& row : CriterionOptions()) {
    query.add_option(row.names, options.criteria.*row.text, row.help)->type_name(row.value);
  }
  query.add_option("--last", options.last, "last seen this long ago or later")->type_name("SPAN");
  query.add_option("-i,--interface", options.interfaces, "seen on this interface; * and ? fit any")
      ->type_name("NAME");
  query.add_option("--node", options.nodes, "network node of either end, by name or number")
      ->type_name("NODE");
  query
      .add_option("--dir", options.direction,
                  "both: source and destination may also match the other way round")
      ->type_name("both");
  query.add_flag("-b,--both-directions", options.criteria.both_directions,
                 "the same as --dir both");
}

void AddOrigin(CLI::App& query, OriginOptions& options) {
  query.add_option("-s,--socket", options.socket, "the daemon's socket")->type_name("PATH");
  query.add_option("--file", options.file, "a journal's file, without a daemon")->type_name("PATH");
  query.add_option("--config", options.configuration, "with --file: has the names")
      ->type_name("PATH");
  query.add_option("--timeout", options.timeout_seconds, "wait this long for an answer")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 86400).description(""));
}

void AddOutput(CLI::App& query, QueryOptions& options) {
  query
      .add_option("-o,--output", options.output,
                  "table, wide, csv, tsv, json, ndjson, raw or template=TEXT")
      ->type_name("FORMAT");
  query.add_option("--fields", options.fields, "what to print, separated by commas")
      ->type_name("LIST");
  query.add_option("--color", options.colour, "auto, always or never")->type_name("WHEN");
  query.add_flag("--numeric", options.numeric, "numbers, no names for them");
  query.add_flag("--utc", options.utc, "times in UTC");
  query.add_flag("-r,--reverse", options.reverse, "newest first");
  query.add_flag("-f,--follow", options.follow, "the newest, then what comes and what grows");
  query.add_flag("--explain", options.explain, "who tests what, and nothing else");
  query.add_flag("--exit-status", options.exit_status, "end with 1 when nothing matched");
}

}  // namespace

CLI::App* AddQuery(CLI::App& app, QueryOptions& options) {
  CLI::App* query = app.add_subcommand("query", "Ask for records");
  AddQuestion(*query, options.question);
  AddOrigin(*query, options.origin);
  AddOutput(*query, options);
  return query;
}

void RefuseEmptyValues(const CLI::App& query, const QueryOptions& options) {
  const Criteria& criteria = options.question.criteria;
  for (const CriterionOption& row : CriterionOptions()) {
    const std::string_view names(row.names);
    const std::string_view first = names.substr(names.find("--"));
    const std::string name(first.substr(0, first.find(',')));
    if (query.get_option(name)->count() != 0 && (criteria.*row.text).empty()) {
      throw UsageError(fmt::format("{} was given an empty value; leave it out, or say what", name));
    }
  }
}

}  // namespace packetdb::host
