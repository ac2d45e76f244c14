// What the numbers in records are called, by a daemon that knows.
#pragma once

#include "host/bus/connection.h"
#include "host/names/names.h"

namespace packetdb::host {

// Of a daemon that does not know the question, what holds where nobody gives other names; of one
// that does not answer to the end, what it said until then. Whether the connection is sound
// afterwards is for the caller to see.
Names AskForNames(Connection& connection);

}  // namespace packetdb::host
