// The options of the commands that sum records up.
#pragma once

#include "host/cli/summary_command.h"

namespace CLI {
class App;
}

namespace packetdb::host {

// Add a subcommand, which fills `options` when the command line is parsed.
CLI::App* AddTop(CLI::App& app, SummaryOptions& options);
CLI::App* AddGroupBy(CLI::App& app, SummaryOptions& options);
CLI::App* AddHistogram(CLI::App& app, SummaryOptions& options);
CLI::App* AddBlocked(CLI::App& app, SummaryOptions& options);

}  // namespace packetdb::host
