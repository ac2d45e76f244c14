// The options of `packetdb convert`.
#pragma once

#include "host/cli/convert_command.h"

namespace CLI {
class App;
}

namespace packetdb::host {

// Adds the command to `app`; parsing fills in `options`, which must live until then.
CLI::App* AddConvert(CLI::App& app, ConvertOptions& options);

}  // namespace packetdb::host
