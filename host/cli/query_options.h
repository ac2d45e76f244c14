// The options of `packetdb query`.
#pragma once

#include "host/cli/query_command.h"

namespace CLI {
class App;
}

namespace packetdb::host {

// Adds the subcommand, which fills `options` when the command line is parsed.
CLI::App* AddQuery(CLI::App& app, QueryOptions& options);

// An option whose value is empty was meant to say something: "$HOST" of a script, say. Throws
// UsageError for the first one on the parsed command line.
void RefuseEmptyValues(const CLI::App& query, const QueryOptions& options);

}  // namespace packetdb::host
