// Opening what is at a path, and who may change it.
//
// A writer holds an exclusive lock on the file for as long as it is open; readers take none. The
// lock belongs to the open file, so two writers of one process exclude each other as well.
#pragma once

#include <string>

#include "host/record_file/descriptor.h"
#include "host/record_file/result.h"

namespace packetdb::host {

enum class Access { kRead, kWrite };

// Opens the regular file at `path` without following a link there, without waiting for a FIFO's
// other end, and without any lock.
RecordFileResult OpenUnlocked(const std::string& path, Access access, Descriptor* file);

// Opens the file at `path`; for writing also makes sure that it is ours to write to, and locks it.
// kUnsettled: the name came to mean another file before the lock was ours; worth another try.
RecordFileResult OpenLocked(const std::string& path, Access access, Descriptor* file);

// Takes the writer's lock, without waiting: kInUse when somebody else has it.
RecordFileResult Lock(const Descriptor& file);

// Gives the lock back, also when a forked process still has a copy of the descriptor.
void Unlock(const Descriptor& file);

// True when `path` itself, not what a link there points to, is the open file.
bool IsFileAt(const std::string& path, const Descriptor& file);

}  // namespace packetdb::host
