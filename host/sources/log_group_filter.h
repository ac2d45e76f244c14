// What reaches a log group's socket while it is being set up. The process that does so is
// privileged and shall not look at packets, and the first records belong to whoever reads them.
#pragma once

namespace packetdb::host {

// From now on the socket gets the kernel's answers and no log records. False, with errno, when the
// system refused.
bool AdmitOnlyAnswers(int socket);

// Ends that, if it was so.
bool AdmitEverything(int socket);

}  // namespace packetdb::host
