// What all processes of the daemon give up at their start.
#pragma once

namespace packetdb::host {

// New files are nobody else's business, no core is dumped (it would hold the events of others), and
// no program that is executed gets more rights than we have. Holds for all children too. Throws
// std::system_error.
void HardenProcess();

// Keeps processes of the same user from looking into this one. Has to be repeated after the user
// was changed, which gives the default back, and in no child. Throws std::system_error.
void ForbidInspection();

}  // namespace packetdb::host
