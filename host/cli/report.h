// What the command says besides its answer.
#pragma once

#include <string_view>

namespace packetdb::host {

// One line on stderr, the program's name in front; control bytes are shown escaped.
void Complain(std::string_view text);

// Sends what was printed on its way. False, with a complaint, when stdout did not take all of it.
bool FlushOutput();

}  // namespace packetdb::host
