// The lines that go to the system log. A program that links this has its own slput.
#pragma once

#include <string>
#include <vector>

namespace packetdb::host {

// "3 text" for each line of priority 3, oldest first, and forgets them.
std::vector<std::string> TakeLogged();

}  // namespace packetdb::host
