// Appends and overwrites that failed, for a host whose library does not pass on how they went.
#pragma once

namespace packetdb::host {

// The negative result of the last append or overwrite that CDbFile refused in this thread since
// ForgetFailedChange; 0 when none was. Who asks after an operation of the library knows whether its
// records are in the file.
int LastFailedChange();
void ForgetFailedChange();

// Notes a result that is negative, and gives any result back.
int NoteFailedChange(int result);

}  // namespace packetdb::host
