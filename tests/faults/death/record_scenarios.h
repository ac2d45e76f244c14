// Operations of a file that is open: append, overwrite, close.
#pragma once

#include <vector>

#include "tests/faults/death/scenario.h"

namespace packetdb::faults {

std::vector<NamedMaker> RecordMakers();

}  // namespace packetdb::faults
