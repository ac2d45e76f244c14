// Opening what is at a path, and who may have it open at the same time.
//
// A writer holds an exclusive lock on the file, a reader a shared one, both for as long as the file
// is open: readers and a writer exclude each other. The locks belong to the open file, so two
// objects of one process exclude each other as well.
#pragma once

#include <string>

#include "host/record_file/descriptor.h"
#include "host/record_file/result.h"

namespace packetdb::host {

enum class Access { kRead, kWrite };

// Opens the regular file at `path` without following a link there, without waiting for a FIFO's
// other end, and without any lock.
RecordFileResult OpenUnlocked(const std::string& path, Access access, Descriptor* file);

// Opens and locks the file at `path`. kUnsettled: the name came to mean another file before the
// lock was ours; worth another try.
RecordFileResult OpenLocked(const std::string& path, Access access, Descriptor* file);

// Takes the lock that `access` calls for, without waiting: kInUse when somebody else's excludes it.
RecordFileResult Lock(const Descriptor& file, Access access);

// Gives the lock back, also when a forked process still has a copy of the descriptor.
void Unlock(const Descriptor& file);

// True when `path` itself, not what a link there points to, is the open file.
bool Names(const std::string& path, const Descriptor& file);

}  // namespace packetdb::host
