// Asks the daemon why it could not answer.
#pragma once

#include <string>

#include "host/bus/connection.h"

namespace packetdb::host {

// The reason why the last query on the connection failed; empty when it did not, or when the daemon
// does not say.
std::string ExplainLastQuery(Connection& connection);

}  // namespace packetdb::host
