// What stays of a row while repeats are added to it.
#pragma once

#include <string>

#include "host/rows/row.h"

namespace packetdb::host {

// The bytes of the event's identity as the bus carries it, of the time when it was first seen, and
// of its interface. Rows that have them in common are nearly always one.
std::string KeyOf(const Row& row);

}  // namespace packetdb::host
