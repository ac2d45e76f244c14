// What the command says besides its answer.
#pragma once

#include <string>
#include <string_view>

namespace packetdb::host {

// One line on stderr, the program's name in front; control bytes are shown escaped.
void Complain(std::string_view text);

// A text that may be too long for a line: its middle is left out, saying how much of it, so that
// what follows it in the line is not cut off. Paths that the system takes are short enough.
std::string Shortened(std::string_view text);

// Sends what was printed on its way. False, with a complaint, when stdout did not take all of it.
bool FlushOutput();

}  // namespace packetdb::host
