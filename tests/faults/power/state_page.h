// What the state page of a journal says, and changing the one thing in it that a test machine
// cannot: whether it went down.
#pragma once

#include <cstdint>
#include <string>

namespace packetdb::faults {

// Makes a journal that was not closed look as if it had been written before the machine last
// started. False, with nothing changed, when there is none or it was closed.
bool PretendOtherBoot(const std::string& path);

// How many records the journal says were found damaged, ever. A power cut damages none: what it
// takes was not flushed.
std::uint64_t DamageTold(const std::string& path);

// Waits until the thread that flushes in the background has noted that all is flushed. False when
// there is no such thread. Throws std::runtime_error when it takes longer than any disk.
bool WaitForBackgroundFlush(int journal);

enum class Flushes { kInTheBackground, kByOurselves };
enum class Changes { kMapped, kByCalls };

// How the record files of this process work from now on; those in the background flush many times
// a second.
void SetUpRecordFiles(Flushes flushes, Changes changes);

}  // namespace packetdb::faults
