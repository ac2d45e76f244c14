// What the log needs of files and sockets is opened before processes lose the right to do so.
#pragma once

namespace packetdb::host {

// Connects to the system log and reads the time zone. After ConfigureLog.
void OpenLogForChildren();

}  // namespace packetdb::host
