// The options of `packetdb import`.
#pragma once

#include "host/cli/import_command.h"

namespace CLI {
class App;
}

namespace packetdb::host {

// Adds the subcommand, which fills `options` when the command line is parsed.
CLI::App* AddImport(CLI::App& app, ImportOptions& options);

}  // namespace packetdb::host
