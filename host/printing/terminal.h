// What is at the other end of an output.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string_view>

namespace packetdb::host {

// Columns of the terminal that `out` is; 0 when it is none, or does not say.
std::size_t TerminalWidth(std::FILE* out);

// Whether to print colours, for "auto", "always" or "never". "auto" is for terminals, unless the
// environment has NO_COLOR, with anything in it, or a TERM that is "dumb". Throws PrintError for
// another word.
bool WantsColour(std::string_view when, std::FILE* out);

}  // namespace packetdb::host
