// The options of `packetdb status` and `packetdb journals`.
#pragma once

#include "host/cli/status_command.h"

namespace CLI {
class App;
}

namespace packetdb::host {

// Each adds its subcommand, which fills `options` when the command line is parsed.
CLI::App* AddStatus(CLI::App& app, StatusOptions& options);
CLI::App* AddJournals(CLI::App& app, StatusOptions& options);

}  // namespace packetdb::host
