// What the command's exit status says.
#pragma once

namespace packetdb::host {

enum ExitCode : int {
  kExitOk = 0,           // also when nothing matched; a note on stderr says so
  kExitUsage = 2,        // options or criteria that make no sense
  kExitUnreachable = 3,  // no daemon behind the socket
  kExitNotPermitted = 4,
  kExitFailed = 7,  // anything else
};

}  // namespace packetdb::host
