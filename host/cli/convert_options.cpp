#include "host/cli/convert_options.h"

#include <CLI/CLI.hpp>

namespace packetdb::host {

CLI::App* AddConvert(CLI::App& app, ConvertOptions& options) {
  CLI::App* convert = app.add_subcommand("convert", "Bring a journal to today's format");
  convert->add_option("file", options.file, "Journal file")->required()->type_name("FILE");
  convert->add_flag("--dry-run", options.dry_run, "only say what would be done");
  convert->add_flag("--keep-old", options.keep_old, "keep the old file as FILE.pre-v4");
  return convert;
}

}  // namespace packetdb::host
