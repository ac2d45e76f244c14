// The options of `packetdb query`.
#pragma once

#include "host/cli/query_command.h"

namespace CLI {
class App;
}

namespace packetdb::host {

// Adds the subcommand, which fills `options` when the command line is parsed.
CLI::App* AddQuery(CLI::App& app, QueryOptions& options);

}  // namespace packetdb::host
