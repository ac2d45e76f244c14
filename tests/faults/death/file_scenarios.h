// Operations on a file as a whole: creation, opening, resizing.
#pragma once

#include <vector>

#include "tests/faults/death/scenario.h"

namespace packetdb::faults {

std::vector<NamedMaker> FileMakers();

}  // namespace packetdb::faults
