#include "host/cli/print_choice.h"

#include <cstdio>

#include "host/cli/usage_error.h"
#include "host/printing/fields.h"
#include "host/printing/terminal.h"

namespace packetdb::host {

PrintOptions PrintOptionsOf(const PrintChoice& choice) {
  try {
    PrintOptions print;
    SetFormat(choice.output, &print);
    if (!choice.fields.empty()) {
      print.fields = ParseFields(choice.fields);
    }
    print.numeric = choice.numeric;
    print.utc = choice.utc;
    print.colour = WantsColour(choice.colour, stdout);
    print.width = TerminalWidth(stdout);
    return print;
  } catch (const PrintError& error) {
    throw UsageError(error.what());
  }
}

}  // namespace packetdb::host
