// Capabilities and the user that the daemon runs as.
#pragma once

#include "host/daemon/identity.h"

namespace packetdb::host {

enum class Keep {
  kNothing,
  kNetwork,  // CAP_NET_ADMIN and CAP_NET_RAW, as far as we have them: sources are opened with them
};

// Becomes another user, with that user's groups. Capabilities stay until LimitCapabilities. Throws
// std::system_error.
void BecomeUser(const Identity& identity);

// Gives up every capability but those to keep, for good, and for programs that are executed all of
// them. Those that are kept take effect only while a RaisedCapabilities lives. Throws
// std::system_error.
void LimitCapabilities(Keep keep);

// While it lives, the capabilities that were kept are in effect.
class RaisedCapabilities {
 public:
  RaisedCapabilities();
  ~RaisedCapabilities();
  RaisedCapabilities(const RaisedCapabilities&) = delete;
  RaisedCapabilities& operator=(const RaisedCapabilities&) = delete;
};

}  // namespace packetdb::host
