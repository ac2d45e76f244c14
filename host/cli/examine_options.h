// The options of the commands that look at a journal file.
#pragma once

#include "host/cli/check_command.h"
#include "host/cli/dump_command.h"
#include "host/cli/info_command.h"

namespace CLI {
class App;
}

namespace packetdb::host {

// Each adds a subcommand, which fills `options` when the command line is parsed.
CLI::App* AddInfo(CLI::App& app, InfoOptions& options);
CLI::App* AddCheck(CLI::App& app, CheckOptions& options);
CLI::App* AddDump(CLI::App& app, DumpOptions& options);

}  // namespace packetdb::host
