#include "host/cli/query_options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <string>
#include <string_view>

#include "host/cli/usage_error.h"

namespace packetdb::host {

CLI::App* AddQuery(CLI::App& app, QueryOptions& options) {
  CLI::App* query = app.add_subcommand("query", "Ask a running packetdbd");
  query->add_option("name", options.criteria.name, "Group or interface")
      ->required()
      ->type_name("NAME");
  query->add_option("-s,--socket", options.socket, "The daemon's socket")
      ->required()
      ->type_name("PATH");
  for (const CriterionOption& row : CriterionOptions()) {
    query->add_option(row.names, options.criteria.*row.text, row.help)->type_name(row.value);
  }
  query->add_flag("-b,--both-directions", options.criteria.both_directions,
                  "source and destination may also match the other way round");
  query->add_option("-o,--output", options.output, "table, or json with one object per line")
      ->type_name("FORMAT");
  query->add_option("--timeout", options.timeout_seconds, "wait this long for the answer")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 86400).description(""));
  return query;
}

void RefuseEmptyValues(const CLI::App& query, const QueryOptions& options) {
  for (const CriterionOption& row : CriterionOptions()) {
    const std::string_view names(row.names);
    const std::string name(names.substr(names.find("--")));
    if (query.get_option(name)->count() != 0 && (options.criteria.*row.text).empty()) {
      throw UsageError(fmt::format("{} was given an empty value; leave it out, or say what", name));
    }
  }
}

}  // namespace packetdb::host
