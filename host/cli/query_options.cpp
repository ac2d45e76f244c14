#include "host/cli/query_options.h"

#include <CLI/CLI.hpp>

#include "host/cli/question_options.h"

namespace packetdb::host {

CLI::App* AddQuery(CLI::App& app, QueryOptions& options) {
  CLI::App* query = app.add_subcommand("query", "Ask for records");
  AddQuestion(*query, options.question);
  AddOrigin(*query, options.origin);
  AddPrintChoice(*query, options.print);
  query->add_option("--fields", options.print.fields, "what to print, separated by commas")
      ->type_name("LIST");
  query->add_flag("-r,--reverse", options.reverse, "newest first");
  query->add_flag("-f,--follow", options.follow, "the newest, then what comes and what grows");
  query->add_flag("--explain", options.explain, "who tests what, and nothing else");
  AddExitStatus(*query, options.exit_status);
  return query;
}

}  // namespace packetdb::host
