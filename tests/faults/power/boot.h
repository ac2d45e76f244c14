// What the record file goes by when it asks whether the machine went down since a journal was
// written.
#pragma once

#include <string>

namespace packetdb::faults {

// Makes a journal that was not closed look as if it had been written before the machine last
// started. False, with nothing changed, when there is none or it was closed.
bool PretendOtherBoot(const std::string& path);

// Lets this process flush its journals as a busy host does, many times a second.
void FlushOften();

}  // namespace packetdb::faults
