#include "host/cli/import_options.h"

#include <CLI/CLI.hpp>

namespace packetdb::host {

namespace {

constexpr char kDefaultGroup[] = "all";

}  // namespace

CLI::App* AddImport(CLI::App& app, ImportOptions& options) {
  options.group.group = kDefaultGroup;
  CLI::App* import = app.add_subcommand("import", "Journal pcap and pcapng captures");
  import->add_option("captures", options.captures, "Capture files, - for standard input")
      ->required()
      ->type_name("CAPTURE...");
  import->add_option("-d,--directory", options.group.directory, "Where the journals are")
      ->required()
      ->type_name("DIR");
  import->add_option("-g,--group", options.group.group, "Group to journal in (default: all)")
      ->type_name("NAME");
  import
      ->add_option("--capacity", options.group.capacity,
                   "records that a new journal keeps (default: 1000000)")
      ->type_name("N")
      ->check(CLI::Range(1, 0x7FFFFFFF).description(""));
  import
      ->add_option("--merge-window", options.group.window_seconds,
                   "how long a new journal merges repeats of an event (default: 60)")
      ->type_name("SECONDS")
      ->check(CLI::Range(0L, 0x7FFFFFFFL).description(""));
  import
      ->add_option("-i,--interface", options.interface,
                   "interface of captures that do not tell it (default: capture)")
      ->type_name("NAME");
  import
      ->add_option("--interface-name", options.interface_names,
                   "name of an interface that a capture tells by its index")
      ->type_name("INDEX=NAME")
      ->allow_extra_args(false);
  import
      ->add_option("--rule", options.rules,
                   "what a log prefix means: accept, drop, reject or log, and an event code")
      ->type_name("PREFIX=VERDICT[:CODE]")
      ->allow_extra_args(false);
  import->add_flag("--keep-old", options.group.keep_old,
                   "keep the old file of a journal that is converted, as JOURNAL.pre-v4");
  return import;
}

}  // namespace packetdb::host
