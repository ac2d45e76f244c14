// What can happen to a journal between two openings.
#pragma once

#include <cstdint>
#include <string>

namespace packetdb::bench {

// Lets a process append to the journal at `path`, overwrite some of it, and kill itself while it
// has the journal open. Throws when that process did anything else.
void KillWriter(const std::string& path, std::uint64_t capacity);

// Makes a journal whose writer was killed look like one of a machine that lost power after the
// kernel had written everything. The recovery is the same when it had not.
void CutPower(const std::string& path);

// How often a recovery has had to read the journal from end to end.
std::uint32_t Searches(const std::string& path);

// Takes the file out of memory, as after a start of the machine.
void DropFromMemory(const std::string& path);

}  // namespace packetdb::bench
