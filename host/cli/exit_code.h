// What the command's exit status says.
#pragma once

namespace packetdb::host {

enum ExitCode : int {
  kExitOk = 0,           // also when nothing matched; a note on stderr says so
  kExitFindings = 1,     // rules that log were looked at, and something is wrong with them
  kExitNoMatch = 1,      // nothing matched, and --exit-status asks to be told so
  kExitUsage = 2,        // options or criteria that make no sense
  kExitUnreachable = 3,  // no daemon behind the socket
  kExitNotPermitted = 4,
  kExitDamaged = 5,     // a journal file is damaged; stdout says where
  kExitIncomplete = 6,  // what was printed is right, and something is missing behind it
  kExitFailed = 7,      // anything else
  kExitInUse = 8,  // another process is at work in the journal file: a check found no damage beside
                   // it, a conversion was refused
};

}  // namespace packetdb::host
