// The configuration, as the command line wants it.
#pragma once

#include "host/config/load.h"
#include "host/daemon/options.h"

namespace packetdb::host {

ConfigurationPlaces PlacesFor(const DaemonOptions& options);

// Reads it, and puts what the command line says in its place. Throws ConfigurationError.
Configuration LoadFor(const DaemonOptions& options);

}  // namespace packetdb::host
